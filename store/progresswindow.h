#pragma once

#include "status.h"

#include <QString>

#include <memory>

namespace store {

// What ProgressWindow shows, handed to the window that shows it.
struct ProgressState
{
    QString caption;
    QString label;
    qint32 minimum = 0;
    qint32 maximum = 0;
    qint32 value = 0;
    bool visible = false;
};

// A window that shows a ProgressState and may be cancelled by the user.
class ProgressDisplay
{
public:
    virtual ~ProgressDisplay() = default;
    virtual void show(const ProgressState& state) = 0;
    virtual bool cancelled() const = 0;
};

// The progress display shown while a security's bars are read: a caption, a label, a range, a step and
// a cancel flag. With a desktop running it is a real progress window with a Cancel button (modal to the
// application, so the rest of the program waits); in the CLI, in tests and on the offscreen platform it
// is silent and only keeps its state. Open prepares it, SetVisible(1) shows it, Close removes it.
class ProgressWindow
{
public:
    enum class Display
    {
        Automatic, // a window when a QApplication runs on a real screen, else silent
        Silent,
        Window,
    };

    explicit ProgressWindow(Display display = Display::Automatic);
    ~ProgressWindow();
    ProgressWindow(const ProgressWindow&) = delete;
    ProgressWindow& operator=(const ProgressWindow&) = delete;

    [[nodiscard]] Status Open();
    [[nodiscard]] Status Close();
    [[nodiscard]] Status SetRange(qint32 minimum, qint32 maximum);
    [[nodiscard]] Status SetCaption(const QString& text);
    [[nodiscard]] Status SetLabel(const QString& text);
    // 1 (or any value but 0) shows the display, 0 hides it.
    [[nodiscard]] Status SetVisible(qint32 flag);
    // Advances by one, never past the maximum.
    [[nodiscard]] Status Step();
    [[nodiscard]] Status IsCancelled(bool& cancelled) const;

    // What the Cancel button does; lets a silent display be cancelled too (Ctrl-C in the CLI, tests).
    void cancel() { m_cancelled = true; }

    const ProgressState& state() const { return m_state; }

private:
    void refresh();

    Display m_display;
    ProgressState m_state;
    std::unique_ptr<ProgressDisplay> m_window;
    bool m_cancelled = false;
};

// The desktop window behind Display::Window (windows/progresswindow_gui.cpp, the only file here that uses
// widgets). Needs a running QApplication.
std::unique_ptr<ProgressDisplay> makeProgressDialog();

} // namespace store
