#pragma once

#include "context/appcontext.h"
#include "qtprinters.h"

#include <QDialog>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

#include <deque>
#include <functional>

namespace testing_support {

// What a window asked of the user, in order.
struct Prompt
{
    enum class Kind
    {
        Information,
        Question,
        Folder,
    };
    Kind kind;
    QString title;
    QString text;
    context::Prompter::Icon icon = context::Prompter::Icon::None;
};

// Records every message and question and answers them from a script. A question or folder request with
// no scripted answer is answered No / cancelled and counted in unscripted, so a test can fail on it.
class TestPrompter : public context::Prompter
{
public:
    void information(QWidget* parent, const QString& title, const QString& text, Icon icon) override;
    bool question(QWidget* parent, const QString& title, const QString& text) override;
    QString pickFolder(QWidget* parent, const QString& title) override;

    // Texts of the information messages, in order.
    QStringList messages() const;

    QList<Prompt> prompts;
    std::deque<bool> answers;
    std::deque<QString> folders;
    int unscripted = 0;
};

class TestClipboard : public context::Clipboard
{
public:
    QString text() const override { return content; }

    void setText(const QString& text) override { content = text; }

    QString content;
};

// A context for one test: a temporary program folder and settings file, a fixed date and an English
// locale; modal windows are driven by scripted functions instead of exec().
class TestContext
{
public:
    using ModalDriver = std::function<int(QDialog&)>;

    TestContext();

    context::AppContext& context() { return m_context; }

    context::AppContext* operator->() { return &m_context; }

    operator context::AppContext&() { return m_context; }

    TestPrompter& prompter() { return *m_prompter; }

    TestClipboard& clipboard() { return *m_clipboard; }

    QString programFolder() const { return m_context.programFolder; }

    // Copies a file the build put beside the executables ("symbols.mdb", "TIP.TXT") into the program
    // folder, so that a test can change its copy.
    bool installProgramFile(const QString& name) const;
    // A fresh folder inside the test's temporary folder.
    QString makeFolder(const QString& name) const;

    void setToday(QDate date) { m_today = date; }

    // Each modal window shown takes the next driver; with none left it is rejected at once.
    std::deque<ModalDriver> modalDrivers;
    QStringList modalsShown; // objectName of each modal window, in order
    QList<QUrl> openedUrls;

private:
    QTemporaryDir m_root;
    context::AppContext m_context;
    TestPrompter* m_prompter;
    TestClipboard* m_clipboard;
    QDate m_today{2024, 6, 14};
};

} // namespace testing_support
