#pragma once

// "Create New Security": creates one empty security in a MetaStock data folder, creating the folder on
// request, and adds it to the main window's recent list.
//
// Controls (objectName and member):
//     Text1     Folder box                 Command1  "&Browse"
//     Text2     Name box                   Command2  "&Symbol Lookup"
//     Text3     Symbol box (upper case)    DTPicker1 First Date
//     Combo1    Periodicity: "Daily", "Weekly", "Monthly" (codes 1, 2, 3)
//     Command3  "Create" (stays open)      Command4  "&OK" (closes)      Command5  "&Close"
//
// The Folder box starts with the shared current folder (or the program folder when there is none) and
// its trimmed text becomes the shared current folder however the window closes. Enter in the Symbol box
// acts as "Create". Folder, date and periodicity keep their values between creations, so that several
// securities can be made one after the other.

#include <QDialog>

#include <memory>

class QComboBox;
class QDateEdit;
class QKeyEvent;
class QLineEdit;
class QPushButton;

namespace context {
struct AppContext;
}

namespace store {

class MetaStockWriter;

class frmCreate : public QDialog
{
    Q_OBJECT

public:
    explicit frmCreate(context::AppContext& context, QWidget* parent = nullptr);
    ~frmCreate() override;

    void done(int result) override;

    QLineEdit* Text1;
    QPushButton* Command1;
    QLineEdit* Text2;
    QLineEdit* Text3;
    QPushButton* Command2;
    QDateEdit* DTPicker1;
    QComboBox* Combo1;
    QPushButton* Command3;
    QPushButton* Command4;
    QPushButton* Command5;

private:
    void Form_Load();
    void Command1_Click();
    void Command2_Click();
    bool Text3_KeyPress(const QKeyEvent& key); // true: the key is handled here
    void Command3_Click();
    void Command4_Click();
    void Command5_Click();

    bool fieldsUsable();
    void createSecurity();

    context::AppContext& m_context;
    std::unique_ptr<MetaStockWriter> m_writer; // made at the first creation, kept while the window lives
};

} // namespace store
