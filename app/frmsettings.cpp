#include "frmsettings.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "download/httpchannel.h"
#include "download/windows/sourcesettings.h"
#include "frmtip.h"
#include "symbols/placehelper.h"
#include "symbols/symbolsdb.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

namespace app {

frmSettings::frmSettings(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , m_context(context)
{
    setObjectName(QStringLiteral("frmSettings"));
    setWindowTitle(QStringLiteral("Settings"));

    Check1 = context::named(new QCheckBox(QStringLiteral("Download Sunday/Saturday Quotes"), this), "Check1");
    auto* threads = new QGroupBox(QStringLiteral("Threads"), this);
    Slider1 = context::named(new QSlider(Qt::Horizontal, threads), "Slider1");
    Slider1->setRange(1, 5);
    Slider1->setSingleStep(1);
    Slider1->setPageStep(1);
    Slider1->setTickPosition(QSlider::TicksBelow);
    Label1 = context::named(new QLabel(threads), "Label1");
    Label1->setMinimumWidth(24);
    auto* threadsLayout = new QHBoxLayout(threads);
    threadsLayout->addWidget(Slider1, 1);
    threadsLayout->addWidget(Label1);
    Check2 = context::named(new QCheckBox(QStringLiteral("Show Tip of the Day at"), this), "Check2");

    auto* service = new QGroupBox(QStringLiteral("Quote service"), this);
    auto address = [service](const char* name, const QString& example) {
        auto* box = new QLineEdit(service);
        box->setObjectName(QLatin1String(name));
        box->setPlaceholderText(example);
        box->setMinimumWidth(320);
        return box;
    };
    txtHistoryUrl = address("txtHistoryUrl", QStringLiteral("https://history.example.net"));
    txtQuoteUrl = address("txtQuoteUrl", QStringLiteral("https://quotes.example.net"));
    txtIntradayChartUrl = address("txtIntradayChartUrl", QStringLiteral("https://charts.example.net/?s={symbol}"));
    spnTimeout = new QSpinBox(service);
    spnTimeout->setObjectName(QStringLiteral("spnTimeout"));
    spnTimeout->setRange(1, 3600);
    spnTimeout->setSuffix(QStringLiteral(" s"));
    auto* serviceLayout = new QFormLayout(service);
    serviceLayout->addRow(QStringLiteral("Daily history:"), txtHistoryUrl);
    serviceLayout->addRow(QStringLiteral("Current quote:"), txtQuoteUrl);
    serviceLayout->addRow(QStringLiteral("Intraday chart page:"), txtIntradayChartUrl);
    serviceLayout->addRow(QStringLiteral("Request timeout:"), spnTimeout);

    Sources = new download::SourceSettingsBox(this);
    connect(Sources->cmdTestSource, &QPushButton::clicked, this, [this] {
        Sources->cmdTestSource_Click({txtQuoteUrl->text().trimmed(), txtHistoryUrl->text().trimmed()},
                                     *m_context.settings);
    });

    // Why the options below cannot be read or kept: the symbol database could not be prepared at start.
    lblSetupProblem = context::named(new QLabel(context.setupProblem, this), "lblSetupProblem");
    lblSetupProblem->setWordWrap(true);
    lblSetupProblem->setVisible(!context.setupProblem.isEmpty());

    Command1 = context::named(new QPushButton(QStringLiteral("&OK"), this), "Command1");
    Command1->setDefault(true);
    Command2 = context::named(new QPushButton(QStringLiteral("Apply"), this), "Command2");
    Command3 = context::named(new QPushButton(QStringLiteral("Cancel"), this), "Command3");
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblSetupProblem);
    layout->addWidget(Check1);
    layout->addWidget(threads);
    layout->addWidget(Check2);
    layout->addWidget(service);
    layout->addWidget(Sources);
    layout->addLayout(context::buttonRow({Command1, Command2, Command3}));

    connect(Slider1, &QSlider::valueChanged, Label1, [this](int value) { Label1->setText(QString::number(value)); });
    connect(Command1, &QPushButton::clicked, this, &frmSettings::Command1_Click);
    connect(Command2, &QPushButton::clicked, this, &frmSettings::Command2_Click);
    connect(Command3, &QPushButton::clicked, this, &QDialog::reject);

    Form_Load();
    adjustSize();
    context::centreOnScreen(*this);
}

void frmSettings::Form_Load()
{
    QSettings& settings = *m_context.settings;
    Check2->setChecked(settings.value(showTipsAtStartupKey(), QStringLiteral("1")).toString() == u"1");
    txtHistoryUrl->setText(settings.value(QLatin1String(download::HistoryUrlKey)).toString());
    txtQuoteUrl->setText(settings.value(QLatin1String(download::QuoteUrlKey)).toString());
    txtIntradayChartUrl->setText(settings.value(symbols::kIntradayChartUrlKey).toString());
    Sources->load(settings);
    spnTimeout->setValue(
        int(std::chrono::duration_cast<std::chrono::seconds>(download::HttpLimits::fromSettings(settings).timeout)
                .count()));
    Label1->setText(QString::number(Slider1->value()));
    try {
        const symbols::Options options = symbols::readOptions(m_context);
        Check1->setChecked(options.s1 != 0);
        Slider1->setValue(options.s2);
    } catch (const symbols::DatabaseError& error) {
        context::showFailure(m_context, this, error.text());
    }
}

QString frmSettings::addressProblem() const
{
    if (QString problem = download::checkServiceAddress(txtHistoryUrl->text()); !problem.isEmpty())
        return QStringLiteral("Daily history: %1").arg(problem);
    if (QString problem = download::checkServiceAddress(txtQuoteUrl->text()); !problem.isEmpty())
        return QStringLiteral("Current quote: %1").arg(problem);
    if (QString problem = symbols::checkIntradayChartUrl(txtIntradayChartUrl->text()); !problem.isEmpty())
        return QStringLiteral("Intraday chart page: %1").arg(problem);
    return {};
}

bool frmSettings::Command2_Click()
{
    if (const QString problem = addressProblem(); !problem.isEmpty()) {
        m_context.prompter->information(this, QStringLiteral("Settings"), problem, context::Prompter::Icon::Warning);
        return false;
    }
    const symbols::Options options{qint16(Check1->isChecked() ? 1 : 0), qint16(Slider1->value())};
    try {
        symbols::writeOptions(m_context, options);
    } catch (const symbols::DatabaseError& error) {
        context::showFailure(m_context, this, error.text());
        return false;
    }
    m_context.state.s1 = options.s1;
    m_context.state.s2 = options.s2;
    QSettings& settings = *m_context.settings;
    settings.setValue(showTipsAtStartupKey(), Check2->isChecked() ? QStringLiteral("1") : QStringLiteral("0"));
    settings.setValue(QLatin1String(download::HistoryUrlKey), txtHistoryUrl->text().trimmed());
    settings.setValue(QLatin1String(download::QuoteUrlKey), txtQuoteUrl->text().trimmed());
    settings.setValue(symbols::kIntradayChartUrlKey, txtIntradayChartUrl->text().trimmed());
    Sources->save(settings);
    settings.setValue(QLatin1String(download::TimeoutKey), spnTimeout->value());
    return true;
}

void frmSettings::Command1_Click()
{
    if (Command2_Click())
        accept();
}

} // namespace app
