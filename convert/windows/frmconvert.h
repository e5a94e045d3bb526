#pragma once

// "Data Converter": converts a whole folder either way, every security of a MetaStock data folder into
// one CSV file each ("Convert to CSV"), or every CSV file of a folder into securities ("Convert To
// Metastock").
//
// Controls (objectName and member):
//     Text1     Source Directory            Command6  browse for it ("Select Source Folder")
//     Text2     Destination Directory       Command7  browse for it ("Select Destination Folder")
//     Command3  "Convert to CSV"            Command2  "Convert To Metastock"       Command1  "&Close"
//     Label3    the security or file in hand, ProgressBar1 the run's progress and Command4 "Cancel",
//               shown only while a conversion runs
//
// A run keeps the window responsive: the other buttons are disabled, Cancel (or closing the window)
// stops it after the security or file in hand. It ends with one message: "Conversion Complete.", with
// the files that were not converted listed below it when there are any.

#include "convert/conversion.h"
#include "store/status.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QToolButton;

namespace context {
struct AppContext;
}

namespace convert {

class frmConvert : public QDialog
{
    Q_OBJECT

public:
    explicit frmConvert(context::AppContext& context, QWidget* parent = nullptr);

    QLineEdit* Text1;
    QLineEdit* Text2;
    QToolButton* Command6;
    QToolButton* Command7;
    QPushButton* Command3;
    QPushButton* Command2;
    QPushButton* Command1;
    QLabel* Label3;
    QProgressBar* ProgressBar1;
    QPushButton* Command4;

    void reject() override;

private:
    void Form_Load();
    void Command6_Click();
    void Command7_Click();
    void Command3_Click();
    void Command2_Click();
    void Command1_Click();
    void Command4_Click();

    // The two folders, or false (after telling the user) when a box is empty.
    bool folders(QString& source, QString& destination);
    void setRunning(bool running);
    // Shows the run's progress and lets the window breathe; false once the user has cancelled.
    bool showProgress(int done, int total, const QString& label);
    void showOutcome(const store::Status& status, const ConversionReport& report);

    context::AppContext& m_context;
    bool m_running = false;
    bool m_cancelled = false;
    qint64 m_lastRefresh = 0;
};

} // namespace convert
