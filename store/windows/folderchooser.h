#pragma once

// The drive list and folder list of the windows that adjust securities and delete data, as one
// chooser: `Drive1` lists the volumes a user can write to ("/" first, then the home folder, then
// removable media; the drives on Windows), `Dir1` the folders of the chosen volume. The folder current
// in Dir1 is the data folder; pathChanged tells every change of it.

#include <QString>
#include <QStringList>
#include <QWidget>

class QComboBox;
class QFileSystemModel;
class QTreeView;

namespace store {

class FolderChooser : public QWidget
{
    Q_OBJECT

public:
    explicit FolderChooser(QWidget* parent = nullptr);

    // The folder current in Dir1, without a trailing separator (a root keeps it).
    QString path() const;
    // Chooses the volume that holds `folder` and makes the folder current. A folder that does not
    // exist chooses the home folder.
    void setPath(const QString& folder);

    // The volumes Drive1 lists, in its order.
    static QStringList volumes();

    QComboBox* Drive1;
    QTreeView* Dir1;

signals:
    void pathChanged(const QString& path);

private:
    void Drive1_Click();

    QFileSystemModel* m_model;
};

} // namespace store
