#include "desktopcontext.h"

#include "symbols/installation.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDialog>
#include <QFileDialog>
#include <QMessageBox>
#include <QSettings>

namespace app {

namespace {

class DesktopPrompter : public context::Prompter
{
public:
    void information(QWidget* parent, const QString& title, const QString& text, Icon icon) override
    {
        QMessageBox box(toQt(icon), title, text, QMessageBox::Ok, parent);
        box.exec();
    }

    bool question(QWidget* parent, const QString& title, const QString& text) override
    {
        QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent);
        return box.exec() == QMessageBox::Yes;
    }

    QString pickFolder(QWidget* parent, const QString& title) override
    {
        return QFileDialog::getExistingDirectory(parent, title, QString(), QFileDialog::ShowDirsOnly);
    }

private:
    static QMessageBox::Icon toQt(Icon icon)
    {
        switch (icon) {
        case Icon::None:
            return QMessageBox::NoIcon;
        case Icon::Information:
            return QMessageBox::Information;
        case Icon::Question:
            return QMessageBox::Question;
        case Icon::Warning:
            return QMessageBox::Warning;
        case Icon::Critical:
            return QMessageBox::Critical;
        }
        return QMessageBox::NoIcon;
    }
};

class DesktopClipboard : public context::Clipboard
{
public:
    QString text() const override { return QGuiApplication::clipboard()->text(); }

    void setText(const QString& text) override { QGuiApplication::clipboard()->setText(text); }
};

} // namespace

std::unique_ptr<context::AppContext> makeDesktopContext()
{
    auto context = std::make_unique<context::AppContext>();
    context->prompter = std::make_unique<DesktopPrompter>();
    context->clipboard = std::make_unique<DesktopClipboard>();
    context->settings = std::make_unique<QSettings>(QStringLiteral("Ticksmith"), QStringLiteral("Ticksmith"));
    context->runModal = [](QDialog& dialog) { return dialog.exec(); };
    context->today = [] { return QDate::currentDate(); };
    context->openUrl = [](const QUrl& url) { QDesktopServices::openUrl(url); };
    context->locale = QLocale::system();
    const symbols::Installation installation = symbols::currentInstallation();
    context->programFolder = installation.programFolder;
    context->dataFolder = installation.dataFolder;
    context->setupProblem = installation.problem;
    return context;
}

} // namespace app
