#pragma once

// "Adjust Security": renames a security, gives it a new symbol, or deletes it from its folder.
//
// Controls (objectName and member), besides those of SecurityWindow:
//     DTPicker1 First Date, shown only
//     Command1  "&Change"                  Command2  "&Delete Security"      Command3  "&Close"
//
// Clicking a name shows the security and keeps its symbol as the current symbol. Change gives the
// security of the current symbol the name and symbol of the boxes; Delete Security deletes the security
// whose symbol is in the Symbol box as it stands. Both read the list again afterwards, ask nothing and
// show nothing; a step that fails ends the action silently and leaves the folder as it was.

#include "securitywindow.h"

class QPushButton;

namespace store {

class frmAdjustSecurity : public SecurityWindow
{
    Q_OBJECT

public:
    explicit frmAdjustSecurity(context::AppContext& context, QWidget* parent = nullptr);

    QPushButton* Command1;
    QPushButton* Command2;
    QPushButton* Command3;

private:
    void securityShown() override;
    void Command1_Click();
    void Command2_Click();

    QString m_currentSymbol;
};

} // namespace store
