#pragma once

// "Open Security": lists the securities of one data folder and opens the chosen one as a data sheet
// or, in chart mode, as a chart; every opening adds an entry to the main window's recent list.
//
// Controls (objectName and member):
//     Text1     Directory box (Enter lists the folder typed)     Command1  Browse
//     Text2     Security box                                      ListView1 "Available Securities":
//     Command2  "&Open"     Command3  "&Cancel"                   "Security Name", "Symbol", "File Name",
//                                                                 "Last Date"
//
// The Directory box starts with the shared current folder (or the program folder when there is none)
// and its trimmed text becomes the shared current folder however the window closes. A click on a row
// copies its name into the Security box; a double click or Enter in the list also opens it.
//
// The symbol handed to the opened window is the one of the security the list was filled with last, not
// necessarily of the chosen row: the window reads the bars through that symbol. The list keeps the
// folder's order.

#include <QDialog>

#include <memory>

class QKeyEvent;
class QLineEdit;
class QPushButton;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace context {
struct AppContext;
}

namespace store {

class MetaStockReader;

class frmOpen : public QDialog
{
    Q_OBJECT

public:
    explicit frmOpen(context::AppContext& context, QWidget* parent = nullptr);
    ~frmOpen() override;

    // Non-zero: the chosen security opens as a chart; zero: as a data sheet. Set before showing.
    int chartMode = 0;

    void done(int result) override;

    QLineEdit* Text1;
    QToolButton* Command1;
    QLineEdit* Text2;
    QTreeWidget* ListView1;
    QPushButton* Command2;
    QPushButton* Command3;

private:
    void Form_Load();
    void fillList();
    void Command1_Click();
    void ListView1_Click(const QTreeWidgetItem* row);
    void Command2_Click();
    // Enter lists the typed folder in the Directory box and opens the current row in the list; true:
    // the key is handled here.
    bool Text1_KeyPress(const QKeyEvent& key);
    bool ListView1_KeyPress(const QKeyEvent& key);
    void addRecentEntry();

    context::AppContext& m_context;
    std::unique_ptr<MetaStockReader> m_reader; // made at the first listing, kept while the window lives
};

} // namespace store
