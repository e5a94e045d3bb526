#pragma once

// "Download": the folders to download into (kept in table "sys" of the symbol database), the
// securities of the ticked folders, and the options; Download hands the ticked securities to the
// progress window.
//
//     download::frmDownload selection(context, parent);
//     context.runModal(selection); // returns after the download, or when the window is closed
//
// The saved folders are loaded by Timer1 once the window runs (a test calls Timer1_Timer itself). The
// folder list is saved whenever the window closes, the download included.

#include <QDialog>

class QCheckBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

namespace context {
struct AppContext;
}

namespace download {

class frmDownload : public QDialog
{
    Q_OBJECT

public:
    // Each security row carries its last date (yyyymmdd) under this role in the Last Date column, and
    // its first date under the next.
    static constexpr int LastDateRole = Qt::UserRole;
    static constexpr int FirstDateRole = Qt::UserRole + 1;

    explicit frmDownload(context::AppContext& context, QWidget* parent = nullptr);

    void Timer1_Timer();

    QLineEdit* Text1;
    QPushButton* Command1; // browse
    QPushButton* Command2; // add the folder
    QPushButton* Command3; // remove the selected folder
    QTreeWidget* ListView2; // folders
    QTreeWidget* ListView1; // securities of the ticked folders
    QLabel* Label1;
    QCheckBox* Check1;
    QCheckBox* Check2;
    QDateEdit* DTPicker1;
    QPushButton* Command4; // download
    QPushButton* Command5; // close
    QPushButton* Command6; // clear
    QTimer* Timer1;

    void done(int result) override;

private:
    void Form_Load();
    void Form_Unload();
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();
    void Command4_Click();
    void Command5_Click();
    void Command6_Click();
    void ListView2_ItemCheck(QTreeWidgetItem* folder);
    void ListView1_ItemCheck();

    void addFolderRow(const QString& path);
    void listFolder(const QString& folder);
    void listTickedFolders();
    void countSelected();
    void onItemChanged(QTreeWidgetItem* item);

    context::AppContext& m_context;
};

} // namespace download
