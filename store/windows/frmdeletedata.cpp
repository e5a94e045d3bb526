#include "frmdeletedata.h"

#include "context/windowhelpers.h"
#include "folderchooser.h"
#include "store/arguments.h"
#include "store/metastockreader.h"
#include "store/metastockwriter.h"

#include <QDateEdit>
#include <QGridLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>

namespace store {

frmDeleteData::frmDeleteData(context::AppContext& context, QWidget* parent)
    : SecurityWindow(context, parent, &MetaStockReader::GetLastDate)
    , Option1(context::named(new QRadioButton(QStringLiteral("Delete Before"), this), "Option1"))
    , Option2(context::named(new QRadioButton(QStringLiteral("Delete After"), this), "Option2"))
    , Command1(context::named(new QPushButton(QStringLiteral("&Delete"), this), "Command1"))
    , Command2(context::named(new QPushButton(QStringLiteral("Close"), this), "Command2"))
{
    setObjectName(QStringLiteral("frmDeleteData"));
    setWindowTitle(QStringLiteral("Delete Data"));
    Option1->setChecked(true);
    m_fields->addWidget(DTPicker1, 2, 0, 1, 3);
    m_fields->addWidget(Option1, 3, 1);
    m_fields->addWidget(Option2, 3, 2);
    addButtons({Command1, Command2});

    connect(Command1, &QPushButton::clicked, this, [this] { Command1_Click(); });
    connect(Command2, &QPushButton::clicked, this, &QDialog::reject);

    Form_Load();
}

void frmDeleteData::listFilled()
{
    Command1->setEnabled(List1->count() > 0);
}

void frmDeleteData::Command1_Click()
{
    if (!Option1->isChecked())
        return;
    const QString folder = folders->path();
    const QString name = Text1->text().trimmed();
    MetaStockReader& read = reader();
    qint32 firstDate = 0;
    Status status = read.OpenFolder(folder);
    if (status.ok())
        status = read.SelectSecurityByName(name);
    if (status.ok())
        status = read.GetFirstDate(firstDate);
    if (status.ok())
        status = read.Close();
    if (status.ok())
        status = read.CloseSecurity();
    if (!status.ok())
        return;
    const QString from = firstDateText(firstDate);
    const QString to = barDateText(DTPicker1->date());
    (void)runWriterSteps({[&](MetaStockWriter& w) { return w.OpenFolder(folder); },
                          [&](MetaStockWriter& w) { return w.SelectSecurityByName(name); },
                          [&](MetaStockWriter& w) { return w.DeleteBarsBetween(from, to); },
                          [](MetaStockWriter& w) { return w.CloseFolder(); },
                          [](MetaStockWriter& w) { return w.CloseSecurity(); }});
}

} // namespace store
