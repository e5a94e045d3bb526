#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

namespace context {
struct AppContext;
}

namespace app {

// The about box: product, version, and a link to the user manual that ships with the program.
class Form3 : public QDialog
{
    Q_OBJECT

public:
    explicit Form3(context::AppContext& context, QWidget* parent = nullptr);

    QLabel* Picture1;
    QLabel* Label4;
    QPushButton* Command1;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setLinkColour(const QColor& colour);

    context::AppContext& m_context;
};

} // namespace app
