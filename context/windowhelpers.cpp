#include "windowhelpers.h"

#include "appcontext.h"
#include "helpers.h"

#include <QAbstractButton>
#include <QDateEdit>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QStyle>
#include <QTreeWidget>
#include <QWidget>

namespace context {

namespace {

// Lives as a child of the control it watches, so it goes when the control goes.
class KeyPressFilter : public QObject
{
public:
    KeyPressFilter(QWidget& control, std::function<bool(const QKeyEvent&)> handler)
        : QObject(&control)
        , m_handler(std::move(handler))
    {
        control.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress)
            return m_handler(*static_cast<QKeyEvent*>(event));
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<bool(const QKeyEvent&)> m_handler;
};

void addAll(QHBoxLayout& row, std::initializer_list<QWidget*> widgets)
{
    for (QWidget* widget : widgets)
        row.addWidget(widget);
}

} // namespace

void centreOnScreen(QWidget& window)
{
    const QScreen* screen = window.screen() ? window.screen() : QGuiApplication::primaryScreen();
    if (!screen)
        return;
    const QRect area = screen->geometry();
    window.move(area.x() + (area.width() - window.width()) / 2, area.y() + (area.height() - window.height()) / 2);
}

void showFailure(AppContext& context, QWidget* parent, const QString& text)
{
    context.prompter->information(parent, QStringLiteral("Ticksmith"), text, Prompter::Icon::Critical);
}

bool typeUpperCase(QLineEdit& box, const QKeyEvent& key, const std::function<void()>& onEnter)
{
    if (onEnter && isEnter(key)) {
        onEnter();
        return true;
    }
    const QString typed = key.text();
    if (typed.isEmpty() || typed == typed.toUpper() || !typed.at(0).isPrint())
        return false;
    box.insert(typed.toUpper());
    return true;
}

bool isEnter(const QKeyEvent& key)
{
    return key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter;
}

void onKeyPress(QWidget& control, std::function<bool(const QKeyEvent&)> handler)
{
    new KeyPressFilter(control, std::move(handler));
}

QHBoxLayout* buttonRow(std::initializer_list<QWidget*> right)
{
    return buttonRow({}, right);
}

QHBoxLayout* buttonRow(std::initializer_list<QWidget*> left, std::initializer_list<QWidget*> right)
{
    auto* row = new QHBoxLayout;
    addAll(*row, left);
    row->addStretch(1);
    addAll(*row, right);
    return row;
}

void addFieldRow(QGridLayout& grid, int row, const QString& caption, QWidget* field, QWidget* button)
{
    grid.addWidget(new QLabel(caption, field->parentWidget()), row, 0);
    grid.addWidget(field, row, 1);
    if (button)
        grid.addWidget(button, row, 2);
}

void showAsFolderButton(QAbstractButton& button, const QString& tip)
{
    button.setIcon(button.style()->standardIcon(QStyle::SP_DirOpenIcon));
    if (!tip.isEmpty())
        button.setToolTip(tip);
}

void showAsReport(QTreeWidget& list, const QStringList& headings, std::initializer_list<int> widths)
{
    list.setHeaderLabels(headings);
    list.setRootIsDecorated(false);
    list.setAllColumnsShowFocus(true);
    int column = 0;
    for (int width : widths)
        list.header()->resizeSection(column++, width);
}

void showShortDates(QDateEdit& picker, const QLocale& locale)
{
    picker.setCalendarPopup(true);
    picker.setDisplayFormat(GetShortDatePattern(locale));
}

} // namespace context
