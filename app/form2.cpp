#include "form2.h"

#include "context/windowhelpers.h"
#include "version.h"

#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

namespace app {

Form2::Form2(std::function<void()> showMainWindow, QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint)
    , m_showMainWindow(std::move(showMainWindow))
{
    setObjectName(QStringLiteral("Form2"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* title = new QLabel(QStringLiteral("<h1>" TICKSMITH_PRODUCT "</h1>"), this);
    title->setAlignment(Qt::AlignCenter);
    auto* subtitle = new QLabel(QStringLiteral("End-of-day quotes for your MetaStock data folders"), this);
    subtitle->setAlignment(Qt::AlignCenter);
    auto* notice = new QLabel(QStringLiteral("Version " TICKSMITH_VERSION ". Free software, provided as is."), this);
    notice->setAlignment(Qt::AlignCenter);
    P = context::named(new QProgressBar(this), "P");
    P->setRange(0, 6);
    P->setValue(0);
    P->setTextVisible(false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 24, 32, 24);
    layout->addWidget(title);
    layout->addWidget(subtitle);
    layout->addSpacing(16);
    layout->addWidget(P);
    layout->addWidget(notice);
    setFixedSize(460, 220);
    setStyleSheet(QStringLiteral("Form2 { border: 1px solid palette(dark); }"));
    context::centreOnScreen(*this);

    Timer1 = context::named(new QTimer(this), "Timer1");
    Timer1->setInterval(300);
    connect(Timer1, &QTimer::timeout, this, &Form2::Timer1_Timer);
    Timer1->start();
}

void Form2::Timer1_Timer()
{
    ++m_ticks;
    switch (m_ticks) {
    case 1:
        P->setValue(1);
        break;
    case 3:
        P->setValue(2);
        break;
    case 4:
        P->setValue(3);
        break;
    case 6:
        P->setValue(4);
        break;
    case 8:
        P->setValue(5);
        break;
    case 10:
        P->setValue(6);
        Timer1->stop();
        m_showMainWindow();
        close();
        break;
    default:
        break;
    }
}

} // namespace app
