#pragma once

// What the windows that adjust securities and delete data share: the folder chooser, the list of the
// folder's securities, the Name and Symbol boxes, a date picker, and one reader and one writer made at
// first use. The windows add their buttons and their own steps.
//
// Controls (objectName and member):
//     Drive1, Dir1  the folder chooser (folderchooser.h); its current folder is the data folder
//     List1     names of the folder's securities, in the reader's order; refilled at every change of
//               the folder
//     Text1     Name box                   Text2     Symbol box (typed letters in upper case)
//     DTPicker1 a date of the clicked security; "N/A" when the folder holds none
//
// Clicking a name shows the security: OpenFolder, SelectSecurityByName, GetName, GetSymbol, the date,
// CloseSecurity, Close. A failing step ends a handler silently.

#include "store/status.h"

#include <QDialog>

#include <functional>
#include <initializer_list>
#include <memory>

class QDateEdit;
class QGridLayout;
class QHBoxLayout;
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

class SecurityWindow : public QDialog
{
    Q_OBJECT

public:
    ~SecurityWindow() override;

    FolderChooser* folders; // Drive1 and Dir1
    QListWidget* List1;
    QLineEdit* Text1;
    QLineEdit* Text2;
    QDateEdit* DTPicker1;

protected:
    using DateGetter = Status (MetaStockReader::*)(qint32&) const;
    using WriterStep = std::function<Status(MetaStockWriter&)>;

    // `shownDate`: the reader's getter whose date a click puts into DTPicker1.
    SecurityWindow(context::AppContext& context, QWidget* parent, DateGetter shownDate);

    // Centres the window, shows today's date and opens the shared current folder (the home folder
    // when there is none). The windows call it last in their constructors.
    void Form_Load();

    // After the list was filled without a failure, and after a click showed a security.
    virtual void listFilled() {}

    virtual void securityShown() {}

    void Dir1_Change();
    MetaStockReader& reader();
    // Runs the steps of one action on the writer until one fails. A failure drops the writer: that
    // releases the folder and writes nothing the steps left pending (the writer writes at CloseFolder),
    // and the next action makes a new one.
    Status runWriterSteps(std::initializer_list<WriterStep> steps);
    // The window's buttons, right-aligned at the bottom. Enter presses none of them: Qt would otherwise
    // press the first whenever a box has the focus.
    void addButtons(std::initializer_list<QPushButton*> buttons);

    context::AppContext& m_context;
    QGridLayout* m_fields; // Name and Symbol in rows 0 and 1; the windows add the rows below

private:
    void List1_Click();

    QHBoxLayout* m_buttons;

    DateGetter m_shownDate;
    std::unique_ptr<MetaStockReader> m_reader;
    std::unique_ptr<MetaStockWriter> m_writer;
};

} // namespace store
