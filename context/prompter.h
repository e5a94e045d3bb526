#pragma once

#include <QString>

class QWidget;

namespace context {

// Everything a window asks of the person in front of it. The program shows real message boxes and
// file dialogs; tests record what was asked and answer from a script, so no window ever blocks.
class Prompter
{
public:
    enum class Icon
    {
        None,
        Information,
        Question,
        Warning,
        Critical,
    };

    virtual ~Prompter() = default;

    // A notice with one OK button.
    virtual void
    information(QWidget* parent, const QString& title, const QString& text, Icon icon = Icon::Information) = 0;
    // A Yes/No question with the question icon; true for Yes.
    virtual bool question(QWidget* parent, const QString& title, const QString& text) = 0;
    // A folder chosen by the user, or empty text when the user cancels.
    virtual QString pickFolder(QWidget* parent, const QString& title) = 0;
};

} // namespace context
