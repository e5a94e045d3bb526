#pragma once

// "Create Multiple Securities": creates, in one folder and with one first date, a daily security for
// each name and symbol of the list, which the symbol lookup's multiple choice fills.
//
// Controls (objectName and member):
//     Text1     Folder box                 Command1  browse (picture button)
//     DTPicker1 First Date                 ListView1 "Security Name", "Symbol"
//     Command2  "Symbol Lookup"            Command3  "Create"        Command4  "Close"
//
// The list starts with the lookup's last multiple choice (context.state.lookupNames and lookupSymbols);
// "Symbol Lookup" adds the entries of a new choice whose names are not listed yet. "Create" goes through
// the rows in order and carries on past a row it cannot create, telling why; the list stays.

#include <QDialog>

#include <memory>

class QDateEdit;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace context {
struct AppContext;
}

namespace store {

class MetaStockWriter;

class frmCreateMultiple : public QDialog
{
    Q_OBJECT

public:
    explicit frmCreateMultiple(context::AppContext& context, QWidget* parent = nullptr);
    ~frmCreateMultiple() override;

    QLineEdit* Text1;
    QPushButton* Command1;
    QDateEdit* DTPicker1;
    QTreeWidget* ListView1;
    QPushButton* Command2;
    QPushButton* Command3;
    QPushButton* Command4;

private:
    void Form_Load();
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();
    void Command4_Click();

    // True when some row's "Security Name" is `name`.
    bool CheckDup(const QString& name) const;
    void addRow(const QString& name, const QString& symbol);
    void createRow(MetaStockWriter& writer, const QString& name, const QString& symbol);

    context::AppContext& m_context;
    std::unique_ptr<MetaStockWriter> m_writer; // made at the first creation, kept while the window lives
};

} // namespace store
