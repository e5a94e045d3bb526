#pragma once

#include <QDialog>
#include <QStringList>

class QCheckBox;
class QLabel;
class QPushButton;

namespace context {
struct AppContext;
}

namespace app {

// Tip of the day: a random line of TIP.TXT from the program folder, offered at start-up and from the
// Help menu unless the user has turned it off.
class frmTip : public QDialog
{
    Q_OBJECT

public:
    explicit frmTip(context::AppContext& context, QWidget* parent = nullptr);

    // Shows the window modally, unless "Show Tips at Startup" is off: then nothing is shown.
    static void offer(context::AppContext& context, QWidget* parent);

    // Prepares the window; false when the user has turned the tips off and it should not be shown.
    bool Form_Load();
    void cmdNextTip_Click();

    int currentIndex() const { return m_current; } // from 1; 0 before a tip is shown

    const QStringList& tips() const { return m_tips; }

    QLabel* lblTipText;
    QCheckBox* chkLoadTipsAtStartup;
    QPushButton* cmdNextTip;
    QPushButton* cmdOK;

private:
    bool loadTips(const QString& path);

    context::AppContext& m_context;
    QStringList m_tips;
    int m_current = 0;
};

// The settings key both this window and the settings window use.
QString showTipsAtStartupKey();

} // namespace app
