#include "store/progresswindow.h"

#include <QProgressDialog>

namespace store {

namespace {

class ProgressDialog : public ProgressDisplay
{
public:
    ProgressDialog()
    {
        m_dialog.setObjectName(QStringLiteral("frmProgress"));
        m_dialog.setWindowModality(Qt::ApplicationModal);
        m_dialog.setAutoClose(false);
        m_dialog.setAutoReset(false);
        m_dialog.setMinimumDuration(0);
        m_dialog.hide();
    }

    void show(const ProgressState& state) override
    {
        m_dialog.setWindowTitle(state.caption);
        m_dialog.setLabelText(state.label);
        m_dialog.setRange(state.minimum, state.maximum);
        // setValue lets a modal dialog handle its events, so a click on Cancel is seen between steps.
        m_dialog.setValue(state.value);
        m_dialog.setVisible(state.visible);
    }

    bool cancelled() const override { return m_dialog.wasCanceled(); }

private:
    QProgressDialog m_dialog;
};

} // namespace

std::unique_ptr<ProgressDisplay> makeProgressDialog()
{
    return std::make_unique<ProgressDialog>();
}

} // namespace store
