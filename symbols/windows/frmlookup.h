#pragma once

// "Symbol Lookup": pick one or several catalogue entries, filtered by exchange.
//
// Opener's contract. Single choice (the default):
//     symbols::frmLookup lookup(context, this);
//     context.runModal(lookup);
//     if (!lookup.selectedSecurity().isEmpty()) { name box = selectedSecurity(); symbol box = selectedSymbol(); }
// selectedSecurity() is empty after "&Close", after "&OK" on an empty list or with no entry selected.
//
// Multiple choice: call setMultipleChoice(true) before runModal. "&OK" then replaces
// context.state.lookupNames and lookupSymbols with the trimmed names and symbols of every selected entry,
// in list order (chosen entry i, counted from 1, is element i - 1); with nothing selected both are left
// empty. "&Close" leaves them as they were.

#include "symbols/symbolsdb.h"

#include <QDialog>

#include <vector>

class QComboBox;
class QKeyEvent;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace context {
struct AppContext;
}

namespace symbols {

class frmLookup : public QDialog
{
    Q_OBJECT

public:
    explicit frmLookup(context::AppContext& context, QWidget* parent = nullptr);

    void setMultipleChoice(bool multiple);

    bool multipleChoice() const { return m_multipleChoice; }

    QString selectedSecurity() const { return m_selectedSecurity; }

    QString selectedSymbol() const { return m_selectedSymbol; }

    // Runs the load again, rebuilding the exchange box and the list (the add-new window calls it as it
    // closes, so new entries show at once).
    void frmlookupload();

    QComboBox* Combo1;
    QTreeWidget* ListView1;
    QLineEdit* Text1;
    QPushButton* Command1;
    QPushButton* Command2;
    QPushButton* Command3;

private:
    void Form_Load();
    void Combo1_Click();
    bool Combo1_KeyPress(const QKeyEvent& key); // true: the key is swallowed
    void ListView1_Click();
    void ListView1_DblClick();
    void Command1_Click();
    void Command2_Click();
    void Command3_Click();

    void fillList(const std::vector<CatalogueEntry>& entries);

    context::AppContext& m_context;
    bool m_multipleChoice = false;
    QString m_selectedSecurity;
    QString m_selectedSymbol;
};

} // namespace symbols
