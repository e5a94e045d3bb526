#include "store/progresswindow.h"

#include <QProgressDialog>

#include <algorithm>
#include <cstdlib>

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
        // setValue lets a modal dialog handle its events, so a click on Cancel is seen between steps. A
        // step of less than a hundredth of the range is not shown: drawing and handling events for each
        // of tens of thousands of bars would take longer than reading them.
        const int stride = std::max(1, (state.maximum - state.minimum) / 100);
        if (state.value == state.minimum || state.value == state.maximum
            || std::abs(state.value - m_dialog.value()) >= stride)
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
