#include "frmplace.h"

#include "context/windowhelpers.h"
#include "symbols/placehelper.h"

#include <QComboBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace symbols {

namespace {

// The kind of chart PlaceHelper is asked for: the intraday chart.
constexpr qint32 kIntradayChart = 16;

} // namespace

frmPlace::frmPlace(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , Combo1(context::named(new QComboBox(this), "Combo1"))
    , Command1(context::named(new QPushButton(QStringLiteral("OK"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("Cancel"), this), "Command2"))
    , m_context(context)
{
    setObjectName(QStringLiteral("frmPlace"));
    setWindowTitle(QStringLiteral("Select Market Place"));
    Combo1->addItem(QStringLiteral("India"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Combo1);
    layout->addLayout(context::buttonRow({Command1, Command2}));
    resize(300, 100);

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, [this] { Command2_Click(); });
    Form_Load();
}

void frmPlace::Form_Load()
{
    context::centreOnScreen(*this);
}

void frmPlace::Command1_Click()
{
    // The chosen market is not passed on: there is one, and the chart page is found by symbol alone.
    PlaceHelper helper(m_context);
    helper.ShowChart(symbol, kIntradayChart);
    accept();
}

void frmPlace::Command2_Click()
{
    reject();
}

} // namespace symbols
