#pragma once

// The quote-source part of the Settings window: which source to download from, its API key, the
// sources asked when it has no data, and "Test", which fetches a few days of one symbol and shows
// what came back.

#include "download/httpchannel.h"

#include <QGroupBox>
#include <QHash>

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QSettings;

namespace download {

class SourceSettingsBox : public QGroupBox
{
    Q_OBJECT

public:
    explicit SourceSettingsBox(QWidget* parent = nullptr);

    void load(const QSettings& settings);
    // Writes the choice and the keys; the settings file becomes readable by its owner alone.
    void save(QSettings& settings);

    // Fetches the last days of txtTestSymbol from the chosen source with the key in the box (saved or
    // not); classic gives the specified service's addresses as the window shows them.
    void cmdTestSource_Click(const ServiceAddresses& classic, const QSettings& settings);

    QComboBox* cboSource; // the profiles, by title; the data is the name
    QLineEdit* txtSourceKey; // the chosen source's key, shown masked
    QListWidget* lstFallback; // the other sources, ticked to be asked in this order (drag to reorder)
    QLineEdit* txtTestSymbol;
    QPushButton* cmdTestSource;
    QLabel* lblTestResult;

private:
    void showSource();
    QString chosenName() const;

    QHash<QString, QString> m_keys; // by source name, as typed
    QString m_shown; // the source whose key the box holds
};

} // namespace download
