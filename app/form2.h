#pragma once

#include <QWidget>

#include <functional>

class QProgressBar;
class QTimer;

namespace app {

// The splash window: shown first, it fills its bar over ten ticks of 300 ms, then shows the main
// window and closes.
class Form2 : public QWidget
{
    Q_OBJECT

public:
    explicit Form2(std::function<void()> showMainWindow, QWidget* parent = nullptr);

    void Timer1_Timer();

    int ticks() const { return m_ticks; }

    QProgressBar* P;
    QTimer* Timer1;

private:
    std::function<void()> m_showMainWindow;
    int m_ticks = 0;
};

} // namespace app
