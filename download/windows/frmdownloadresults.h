#pragma once

// "Download Results": every processed security with its result, and the summary of the counts. The
// progress window shows it modally at the end of every job, finished, cancelled or stopped.

#include <QDialog>
#include <QIcon>

class QLabel;
class QPushButton;
class QTreeWidget;

namespace context {
struct AppContext;
}

namespace download {

class frmDownloadResults : public QDialog
{
    Q_OBJECT

public:
    // Each row carries the number of its image (1: data or up to date, 2: no data) under this role.
    static constexpr int ImageRole = Qt::UserRole;

    explicit frmDownloadResults(context::AppContext& context, QWidget* parent = nullptr);

    // Lists the context's download results afresh; running it twice lists them once.
    void Form_Load();

    QTreeWidget* ListView1;
    QLabel* Label1;
    QPushButton* Command1;

private:
    void Command1_Click();

    context::AppContext& m_context;
    QIcon m_images[2]; // ImageList1
};

} // namespace download
