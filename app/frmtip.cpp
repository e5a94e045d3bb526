#include "frmtip.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRandomGenerator>
#include <QSettings>
#include <QVBoxLayout>

namespace app {

QString showTipsAtStartupKey()
{
    return QStringLiteral("Options/Show Tips at Startup");
}

frmTip::frmTip(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , m_context(context)
{
    setObjectName(QStringLiteral("frmTip"));
    setWindowTitle(QStringLiteral("Tip of the Day"));
    auto* heading = new QLabel(QStringLiteral("<b>Did you know...</b>"), this);
    lblTipText = context::named(new QLabel(QStringLiteral("Ticksmith keeps your MetaStock folders up to date."), this),
                                "lblTipText");
    lblTipText->setWordWrap(true);
    lblTipText->setMinimumSize(360, 120);
    lblTipText->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    chkLoadTipsAtStartup =
        context::named(new QCheckBox(QStringLiteral("&Show Tips at Startup"), this), "chkLoadTipsAtStartup");
    cmdNextTip = context::named(new QPushButton(QStringLiteral("&Next Tip"), this), "cmdNextTip");
    cmdOK = context::named(new QPushButton(QStringLiteral("OK"), this), "cmdOK");
    cmdOK->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(lblTipText, 1);
    layout->addLayout(context::buttonRow({chkLoadTipsAtStartup}, {cmdNextTip, cmdOK}));

    connect(cmdNextTip, &QPushButton::clicked, this, &frmTip::cmdNextTip_Click);
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(chkLoadTipsAtStartup, &QCheckBox::clicked, this, [this](bool on) {
        m_context.settings->setValue(showTipsAtStartupKey(), on ? QStringLiteral("1") : QStringLiteral("0"));
    });
}

void frmTip::offer(context::AppContext& context, QWidget* parent)
{
    frmTip window(context, parent);
    if (window.Form_Load())
        context.runModal(window);
}

bool frmTip::Form_Load()
{
    if (m_context.settings->value(showTipsAtStartupKey(), QStringLiteral("1")).toString() == u"0")
        return false;
    chkLoadTipsAtStartup->setChecked(true);
    if (!loadTips(m_context.programFile(QStringLiteral("TIP.TXT")))) {
        lblTipText->setText(QStringLiteral("That the TIP.TXT file was not found? \r\n\r\n"
                                           "Create a text file named TIP.TXT using NotePad with 1 tip per line. "
                                           "Then place it in the same directory as the application. "));
    }
    return true;
}

bool frmTip::loadTips(const QString& path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    // Every line is a tip, empty ones included; the line break that ends the file starts no tip.
    QString text = QString::fromUtf8(file.readAll());
    if (!text.isEmpty()) {
        if (text.endsWith(u'\n'))
            text.chop(1);
        m_tips = text.split(u'\n');
    }
    cmdNextTip_Click();
    return true;
}

void frmTip::cmdNextTip_Click()
{
    if (m_tips.isEmpty())
        return;
    m_current = int(QRandomGenerator::global()->bounded(qsizetype(m_tips.size()))) + 1;
    lblTipText->setText(m_tips[m_current - 1]);
}

} // namespace app
