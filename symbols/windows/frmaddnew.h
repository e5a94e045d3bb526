#pragma once

// "Add New Security": appends entries to the catalogue. Opened modally from the lookup window's "&New";
// keeps the database and its "select * from symbols order by exchange" recordset open while shown, and
// on closing closes them and rebuilds the lookup window's list.

#include "symbols/database.h"

#include <QDialog>

#include <memory>
#include <optional>

class QComboBox;
class QKeyEvent;
class QLineEdit;
class QPushButton;

namespace context {
struct AppContext;
}

namespace symbols {

class frmLookup;

class frmAddNew : public QDialog
{
    Q_OBJECT

public:
    // lookup may be null; when given, its list is rebuilt as this window closes.
    frmAddNew(context::AppContext& context, frmLookup* lookup, QWidget* parent = nullptr);
    ~frmAddNew() override;

    void done(int result) override;

    QLineEdit* Text1;
    QLineEdit* Text2;
    QComboBox* Combo1;
    QPushButton* Command1;
    QPushButton* Command2;

private:
    void Form_Load();
    void Form_Unload();
    bool Text2_KeyPress(const QKeyEvent& key); // true: the key is handled here
    void Command1_Click();
    void Command2_Click();

    context::AppContext& m_context;
    frmLookup* m_lookup;
    std::unique_ptr<Database> m_database;
    std::optional<Recordset> m_recordset;
    QString m_openError; // why the database is not open, shown again on "&Add"
    bool m_unloaded = false;
};

} // namespace symbols
