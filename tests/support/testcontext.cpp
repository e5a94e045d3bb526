#include "testcontext.h"

#include <QDir>
#include <QFile>
#include <QSettings>

namespace testing_support {

void TestPrompter::information(QWidget*, const QString& title, const QString& text, Icon icon)
{
    prompts.append({Prompt::Kind::Information, title, text, icon});
}

bool TestPrompter::question(QWidget*, const QString& title, const QString& text)
{
    prompts.append({Prompt::Kind::Question, title, text, Icon::Question});
    if (answers.empty()) {
        ++unscripted;
        return false;
    }
    const bool answer = answers.front();
    answers.pop_front();
    return answer;
}

QString TestPrompter::pickFolder(QWidget*, const QString& title)
{
    prompts.append({Prompt::Kind::Folder, title, QString(), Icon::None});
    if (folders.empty()) {
        ++unscripted;
        return {};
    }
    QString folder = folders.front();
    folders.pop_front();
    return folder;
}

QStringList TestPrompter::messages() const
{
    QStringList texts;
    for (const auto& prompt : prompts) {
        if (prompt.kind == Prompt::Kind::Information)
            texts.append(prompt.text);
    }
    return texts;
}

TestContext::TestContext()
{
    auto prompter = std::make_unique<TestPrompter>();
    m_prompter = prompter.get();
    m_context.prompter = std::move(prompter);
    auto clipboard = std::make_unique<TestClipboard>();
    m_clipboard = clipboard.get();
    m_context.clipboard = std::move(clipboard);

    m_context.settings =
        std::make_unique<QSettings>(QDir(m_root.path()).filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    m_context.runModal = [this](QDialog& dialog) {
        modalsShown.append(dialog.objectName());
        if (modalDrivers.empty())
            return int(QDialog::Rejected);
        ModalDriver driver = std::move(modalDrivers.front());
        modalDrivers.pop_front();
        return driver(dialog);
    };
    m_context.today = [this] { return m_today; };
    m_context.openUrl = [this](const QUrl& url) { openedUrls.append(url); };
    m_context.locale = QLocale(QLocale::English, QLocale::UnitedStates);
    m_context.programFolder = makeFolder(QStringLiteral("program"));
}

bool TestContext::installProgramFile(const QString& name) const
{
    const QString built = QDir(QStringLiteral(TICKSMITH_BUILD_DIR)).filePath(name);
    const QString copy = m_context.programFile(name);
    return QFile::copy(built, copy) && QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner);
}

QString TestContext::makeFolder(const QString& name) const
{
    const QString path = QDir(m_root.path()).filePath(name);
    QDir().mkpath(path);
    return path;
}

} // namespace testing_support
