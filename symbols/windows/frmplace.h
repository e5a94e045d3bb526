#pragma once

// "Select Market Place": asks for the market, then shows the intraday chart of `symbol` through
// PlaceHelper. The data sheet sets `symbol` (its trimmed Symbol box) and shows the window modally:
//     symbols::frmPlace place(context, this);
//     place.symbol = Text->text().trimmed();
//     context.runModal(place);

#include <QDialog>

class QComboBox;
class QPushButton;

namespace context {
struct AppContext;
}

namespace symbols {

class frmPlace : public QDialog
{
    Q_OBJECT

public:
    explicit frmPlace(context::AppContext& context, QWidget* parent = nullptr);

    QString symbol;

    QComboBox* Combo1;
    QPushButton* Command1;
    QPushButton* Command2;

private:
    void Form_Load();
    void Command1_Click();
    void Command2_Click();

    context::AppContext& m_context;
};

} // namespace symbols
