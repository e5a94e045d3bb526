#pragma once

// "Adjust Security": renames a security, gives it a new symbol, or deletes it from its folder.
//
// Controls (objectName and member):
//     Drive1, Dir1  the folder chooser (folderchooser.h); its current folder is the data folder
//     List1     names of the folder's securities, in the reader's order
//     Text1     Name box                   Text2     Symbol box (upper case)
//     DTPicker1 First Date, shown only
//     Command1  "&Change"                  Command2  "&Delete Security"      Command3  "&Close"
//
// Clicking a name shows the security and keeps its symbol as the current symbol. Change gives the
// security of the current symbol the name and symbol of the boxes; Delete Security deletes the security
// whose symbol is in the Symbol box as it stands. Both read the list again afterwards, ask nothing and
// show nothing; a step that fails ends the action silently and leaves the folder as it was.

#include <QDialog>

#include <memory>

class QDateEdit;
class QKeyEvent;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace context {
struct AppContext;
}

namespace store {

class FolderChooser;
class MetaStockReader;
class MetaStockWriter;

class frmAdjustSecurity : public QDialog
{
    Q_OBJECT

public:
    explicit frmAdjustSecurity(context::AppContext& context, QWidget* parent = nullptr);
    ~frmAdjustSecurity() override;

    FolderChooser* folders; // Drive1 and Dir1
    QListWidget* List1;
    QLineEdit* Text1;
    QLineEdit* Text2;
    QDateEdit* DTPicker1;
    QPushButton* Command1;
    QPushButton* Command2;
    QPushButton* Command3;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Form_Load();
    void Dir1_Change();
    void List1_Click();
    void Command1_Click();
    void Command2_Click();

    MetaStockReader& reader();

    context::AppContext& m_context;
    QString m_currentSymbol;
    std::unique_ptr<MetaStockReader> m_reader; // each made at first use
    std::unique_ptr<MetaStockWriter> m_writer;
};

} // namespace store
