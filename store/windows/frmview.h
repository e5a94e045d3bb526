#pragma once

// The data sheet: every bar of one security in a table, with insertion, change and deletion of single
// bars through the "Change Record" dialog.
//
// Controls (objectName and member):
//     Text1  Folder    Text2  Security    Text3  Symbol (the key of every read and write)
//     Text4  First Date    Text5  Last Date    Text6  Periodicity
//     ListView1  the bars: "Date", "Open", "High", "Low", "Close", "Volume" (a BarTableModel)
//     Command1 "Show Intraday Chart"  Command2 "Insert"  Command3 "Change"  Command4 "Delete"
//     Command5 "Close"
//
// Loading reads the bars under a cancellable progress display; a cancel keeps the rows read so far.
// Insert writes a bar of a date the security does not have and reads the sheet again; Change replaces
// the values of the bar of the dialog's date and shows them in the selected row; Delete removes the
// selected row's bar after asking. Bars entered here carry time -1 and open interest -1, unlike
// downloaded ones (0), so they can be told apart. A failing read or write ends the action silently and
// leaves the folder closed, so that the next action and other programs can open it.

#include "store/progresswindow.h"

#include <QDate>
#include <QDialog>
#include <QWidget>

#include <memory>

class QDateEdit;
class QLineEdit;
class QPushButton;
class QTreeView;

namespace context {
struct AppContext;
}

namespace store {

class BarTableModel;
class MetaStockReader;
class MetaStockWriter;
class frmRecord;

class frmView : public QWidget
{
    Q_OBJECT

public:
    // Reads the bars at once. `display` chooses the progress display (a window on a desktop).
    frmView(context::AppContext& context,
            const QString& folder,
            const QString& name,
            const QString& symbol,
            QWidget* parent = nullptr,
            ProgressWindow::Display display = ProgressWindow::Display::Automatic);
    ~frmView() override;

    QLineEdit* Text1;
    QLineEdit* Text2;
    QLineEdit* Text3;
    QLineEdit* Text4;
    QLineEdit* Text5;
    QLineEdit* Text6;
    QTreeView* ListView1;
    QPushButton* Command1;
    QPushButton* Command2;
    QPushButton* Command3;
    QPushButton* Command4;
    QPushButton* Command5;

    BarTableModel& bars() const { return *m_model; }

    void Form_Load();
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();
    void Command4_Click();

private:
    int selectedRow() const;
    bool openSecurity(); // the writer's folder opened and the security selected
    bool closeWriter(); // false when a write failed
    void releaseWriter();
    frmRecord& record();

    context::AppContext& m_context;
    QString m_folder;
    QString m_name;
    QString m_symbol;
    BarTableModel* m_model;
    ProgressWindow::Display m_display;
    // Made at first use and kept while the window lives; the writer is dropped after a failure, which
    // releases the folder without writing what the failed action left pending.
    std::unique_ptr<MetaStockWriter> m_writer;
    std::unique_ptr<MetaStockReader> m_reader;
    std::unique_ptr<ProgressWindow> m_progress;
    frmRecord* m_record = nullptr;
};

// "Change Record": the date and the five values of one bar, for Insert and Change. Apply with an empty
// box says "Please Complete All Fields." and stays open; a box that is not a number or a value the
// folder cannot hold is named and the dialog stays open too.
//
//     DTPicker1  date    Text1..Text5  open, high, low, close, volume    Command1 "&Apply"  Command2 "&Close"
class frmRecord : public QDialog
{
    Q_OBJECT

public:
    explicit frmRecord(context::AppContext& context, QWidget* parent = nullptr);

    QDateEdit* DTPicker1;
    QLineEdit* Text1;
    QLineEdit* Text2;
    QLineEdit* Text3;
    QLineEdit* Text4;
    QLineEdit* Text5;
    QPushButton* Command1;
    QPushButton* Command2;

    // Set by Apply only; cleared each time the dialog is shown.
    bool accepted = false;
    QDate date;
    double values[5] = {}; // open, high, low, close, volume

    void Form_Load();
    void Command1_Click();

private:
    QList<QLineEdit*> boxes() const { return {Text1, Text2, Text3, Text4, Text5}; }

    context::AppContext& m_context;
};

// Makes a data sheet of the security, captioned "DataSheet of " and the name, and shows it in the main
// window's area.
void openDataSheet(context::AppContext& context, const QString& folder, const QString& name, const QString& symbol);

} // namespace store
