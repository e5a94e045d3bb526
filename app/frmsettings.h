#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;
class QSpinBox;

namespace context {
struct AppContext;
}

namespace download {
class SourceSettingsBox;
}

namespace app {

// "Settings": weekend downloads and the threads value (kept in the symbol database), the tip of the day
// at start-up, the addresses of the quote service with the time a request may take, and the quote
// source to download from.
class frmSettings : public QDialog
{
    Q_OBJECT

public:
    explicit frmSettings(context::AppContext& context, QWidget* parent = nullptr);

    // Saves everything, or nothing when an address is unusable or the database refuses; the user is told
    // why. True when saved.
    bool Command2_Click();
    void Command1_Click();

    QCheckBox* Check1;
    QSlider* Slider1;
    QLabel* Label1;
    QLabel* lblSetupProblem;
    QCheckBox* Check2;
    QLineEdit* txtHistoryUrl;
    QLineEdit* txtQuoteUrl;
    QLineEdit* txtIntradayChartUrl;
    download::SourceSettingsBox* Sources; // the source, its key, the fallbacks and "Test"
    QSpinBox* spnTimeout; // seconds a request may take
    QPushButton* Command1;
    QPushButton* Command2;
    QPushButton* Command3;

private:
    void Form_Load();
    QString addressProblem() const;

    context::AppContext& m_context;
};

} // namespace app
