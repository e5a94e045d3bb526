#include "form3.h"

#include "context/appcontext.h"
#include "context/windowhelpers.h"
#include "logo.h"
#include "version.h"

#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QUrl>

namespace app {

Form3::Form3(context::AppContext& context, QWidget* parent)
    : QDialog(parent)
    , m_context(context)
{
    setObjectName(QStringLiteral("Form3"));
    setWindowTitle(QStringLiteral("About " TICKSMITH_PRODUCT));
    Picture1 = context::named(new QLabel(this), "Picture1");
    Picture1->setPixmap(drawLogo(64));
    Picture1->setMouseTracking(true);
    auto* title = new QLabel(QStringLiteral("<h2>" TICKSMITH_PRODUCT "</h2>"), this);
    auto* version = new QLabel(QStringLiteral("Version " TICKSMITH_VERSION), this);
    version->setObjectName(QStringLiteral("lblVersion"));
    auto* notice = new QLabel(QStringLiteral("Keeps MetaStock data folders up to date with daily quotes.\n"
                                             "Free software, provided as is, without warranty."),
                              this);
    Label4 = context::named(new QLabel(QStringLiteral("Ticksmith user manual"), this), "Label4");
    Label4->setCursor(Qt::PointingHandCursor);
    Label4->setMouseTracking(true);
    Command1 = context::named(new QPushButton(QStringLiteral("OK"), this), "Command1");
    Command1->setDefault(true);

    auto* layout = new QGridLayout(this);
    layout->addWidget(Picture1, 0, 0, 4, 1, Qt::AlignTop);
    layout->addWidget(title, 0, 1);
    layout->addWidget(version, 1, 1);
    layout->addWidget(notice, 2, 1);
    layout->addWidget(Label4, 3, 1);
    layout->addWidget(Command1, 4, 1, Qt::AlignRight);
    setLinkColour(Qt::blue);

    Picture1->installEventFilter(this);
    Label4->installEventFilter(this);
    connect(Command1, &QPushButton::clicked, this, &QDialog::accept);
    adjustSize();
    context::centreOnScreen(*this);
}

void Form3::setLinkColour(const QColor& colour)
{
    Label4->setStyleSheet(QStringLiteral("color: %1; text-decoration: underline;").arg(colour.name()));
}

bool Form3::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseMove || event->type() == QEvent::Enter) {
        if (watched == Label4)
            setLinkColour(QColor(255, 0, 0));
        else if (watched == Picture1)
            setLinkColour(QColor(0, 0, 255));
    } else if (event->type() == QEvent::MouseButtonRelease && watched == Label4) {
        m_context.openUrl(QUrl::fromLocalFile(m_context.programFile(QStringLiteral("help/index.html"))));
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace app
