#pragma once

// "Security Finder": searches a folder, and on request its subfolders, for securities whose symbol or
// name matches a pattern with "*" wild cards, and lists the hits.
//
// Controls (objectName and member):
//     Text1     "Symbol/Security" pattern (upper case; Enter searches)
//     Text2     "Directory"                Command3  browse (picture button)
//     Check1    "Include Subdirectories"
//     Command1  "&Search"                  Command2  "&Close"
//     ListView1 "Security Name", "Symbol", "File Name"; each row's tool tip names the hit's folder
//
// The folder box starts with the folder the finder last closed with in this run of the program
// (context.state.finderFolder). The search ends quietly at its last hit, at any failure, or after
// 32,768 rows, keeping the rows listed so far.

#include <QDialog>

#include <memory>

class QCheckBox;
class QKeyEvent;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace context {
struct AppContext;
}

namespace store {

class SecuritySearch;

class frmFinder : public QDialog
{
    Q_OBJECT

public:
    explicit frmFinder(context::AppContext& context, QWidget* parent = nullptr);
    ~frmFinder() override;

    void done(int result) override;

    QLineEdit* Text1;
    QLineEdit* Text2;
    QPushButton* Command3;
    QCheckBox* Check1;
    QPushButton* Command1;
    QPushButton* Command2;
    QTreeWidget* ListView1;

private:
    void Form_Load();
    bool Text1_KeyPress(const QKeyEvent& key); // true: the key is handled here
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();

    void search(const QString& pattern, const QString& folder);

    context::AppContext& m_context;
    std::unique_ptr<SecuritySearch> m_search; // made at the first search, kept while the window lives
};

} // namespace store
