#include "progresswindow.h"

#include <QCoreApplication>
#include <QGuiApplication>

namespace store {

namespace {

bool desktopRunning()
{
    const QCoreApplication* application = QCoreApplication::instance();
    if (!application || !application->inherits("QApplication"))
        return false;
    const QString platform = QGuiApplication::platformName();
    return platform != u"offscreen" && platform != u"minimal";
}

} // namespace

ProgressWindow::ProgressWindow(Display display)
    : m_display(display)
{}

ProgressWindow::~ProgressWindow() = default;

Status ProgressWindow::Open()
{
    m_state = ProgressState();
    m_cancelled = false;
    const bool window = m_display == Display::Window || (m_display == Display::Automatic && desktopRunning());
    m_window = window ? makeProgressDialog() : nullptr;
    return {};
}

Status ProgressWindow::Close()
{
    m_window.reset();
    m_state.visible = false;
    return {};
}

void ProgressWindow::refresh()
{
    if (m_window)
        m_window->show(m_state);
}

Status ProgressWindow::SetRange(qint32 minimum, qint32 maximum)
{
    if (minimum > maximum)
        return Status::error(ErrorCode::InvalidArgument,
                             QStringLiteral("The range %1..%2 is empty").arg(minimum).arg(maximum));
    m_state.minimum = minimum;
    m_state.maximum = maximum;
    m_state.value = minimum;
    refresh();
    return {};
}

Status ProgressWindow::SetCaption(const QString& text)
{
    m_state.caption = text;
    refresh();
    return {};
}

Status ProgressWindow::SetLabel(const QString& text)
{
    m_state.label = text;
    refresh();
    return {};
}

Status ProgressWindow::SetVisible(qint32 flag)
{
    m_state.visible = flag != 0;
    refresh();
    return {};
}

Status ProgressWindow::Step()
{
    if (m_state.value < m_state.maximum)
        ++m_state.value;
    refresh();
    return {};
}

Status ProgressWindow::IsCancelled(bool& cancelled) const
{
    cancelled = m_cancelled || (m_window && m_window->cancelled());
    return {};
}

} // namespace store
