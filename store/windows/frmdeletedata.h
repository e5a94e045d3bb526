#pragma once

// "Delete Data": removes the early part of a security's history, every bar from its first date up to
// the chosen date (both included).
//
// Controls (objectName and member):
//     Drive1, Dir1  the folder chooser (folderchooser.h); its current folder is the data folder
//     List1     names of the folder's securities, in the reader's order
//     Text1     Name box                   Text2     Symbol box (upper case)
//     DTPicker1 the limit date             Option1   "Delete Before"     Option2   "Delete After"
//     Command1  "&Delete" (enabled while the list holds a security)       Command2  "Close"
//
// The security is found by the Name box in every step. Clicking a name sets the limit date to the
// security's last date. "Delete After" is offered and does nothing: with it selected Delete changes
// nothing and shows nothing. Delete asks nothing and shows nothing; a step that fails ends it silently
// and leaves the folder as it was. A first date the index does not hold (0, or no date at all) reaches
// back to the oldest bar, so that the bars up to the limit are removed all the same.

#include <QDialog>

#include <memory>

class QDateEdit;
class QKeyEvent;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;

namespace context {
struct AppContext;
}

namespace store {

class FolderChooser;
class MetaStockReader;
class MetaStockWriter;

class frmDeleteData : public QDialog
{
    Q_OBJECT

public:
    explicit frmDeleteData(context::AppContext& context, QWidget* parent = nullptr);
    ~frmDeleteData() override;

    FolderChooser* folders; // Drive1 and Dir1
    QListWidget* List1;
    QLineEdit* Text1;
    QLineEdit* Text2;
    QDateEdit* DTPicker1;
    QRadioButton* Option1;
    QRadioButton* Option2;
    QPushButton* Command1;
    QPushButton* Command2;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Form_Load();
    void Dir1_Change();
    void List1_Click();
    void Command1_Click();

    MetaStockReader& reader();

    context::AppContext& m_context;
    std::unique_ptr<MetaStockReader> m_reader; // each made at first use
    std::unique_ptr<MetaStockWriter> m_writer;
};

} // namespace store
