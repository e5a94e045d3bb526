#pragma once

// "Delete Data": removes the early part of a security's history, every bar from its first date up to
// the chosen date (both included).
//
// Controls (objectName and member), besides those of SecurityWindow:
//     DTPicker1 the limit date             Option1   "Delete Before"     Option2   "Delete After"
//     Command1  "&Delete" (enabled while the list holds a security)       Command2  "Close"
//
// The security is found by the Name box in every step. Clicking a name sets the limit date to the
// security's last date. "Delete After" is offered and does nothing: with it selected Delete changes
// nothing and shows nothing. Delete asks nothing and shows nothing; a step that fails ends it silently
// and leaves the folder as it was. A first date the index does not hold (0, or no date at all) reaches
// back to the oldest bar, so that the bars up to the limit are removed all the same.

#include "securitywindow.h"

class QPushButton;
class QRadioButton;

namespace store {

class frmDeleteData : public SecurityWindow
{
    Q_OBJECT

public:
    explicit frmDeleteData(context::AppContext& context, QWidget* parent = nullptr);

    QRadioButton* Option1;
    QRadioButton* Option2;
    QPushButton* Command1;
    QPushButton* Command2;

private:
    void listFilled() override;
    void Command1_Click();
};

} // namespace store
