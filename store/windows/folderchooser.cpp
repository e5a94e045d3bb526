#include "folderchooser.h"

#include "context/windowhelpers.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QStorageInfo>
#include <QTreeView>
#include <QVBoxLayout>

namespace store {

namespace {

// Volumes a user plugs in; the rest of a Unix system's mounts (boot, snaps, containers, virtual file
// systems) hold no price data.
bool isRemovable(const QString& root)
{
#ifdef Q_OS_WIN
    Q_UNUSED(root);
    return true;
#else
    for (const char* place : {"/media/", "/run/media/", "/mnt/"}) {
        if (root.startsWith(QLatin1String(place)))
            return true;
    }
    return false;
#endif
}

bool holds(const QString& root, const QString& folder)
{
    return folder == root || folder.startsWith(root.endsWith(u'/') ? root : root + u'/');
}

} // namespace

FolderChooser::FolderChooser(QWidget* parent)
    : QWidget(parent)
    , Drive1(context::named(new QComboBox(this), "Drive1"))
    , Dir1(context::named(new QTreeView(this), "Dir1"))
    , m_model(new QFileSystemModel(this))
{
    m_model->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot | QDir::Drives);
    m_model->setReadOnly(true);
    Dir1->setModel(m_model);
    for (int column = 1; column < m_model->columnCount(); ++column)
        Dir1->hideColumn(column);
    Dir1->header()->hide();
    Dir1->setSortingEnabled(true);
    Dir1->sortByColumn(0, Qt::AscendingOrder);
    Drive1->addItems(volumes());

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(Drive1);
    layout->addWidget(Dir1, 1);

    connect(Drive1, &QComboBox::activated, this, [this] { Drive1_Click(); });
    connect(Dir1->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] { emit pathChanged(path()); });
}

QStringList FolderChooser::volumes()
{
    QStringList roots{QDir::rootPath(), QDir::homePath()};
    for (const QStorageInfo& volume : QStorageInfo::mountedVolumes()) {
        const QString root = volume.rootPath();
        if (volume.isValid() && volume.isReady() && !volume.isReadOnly() && isRemovable(root) && !roots.contains(root))
            roots.append(root);
    }
    roots.removeDuplicates();
    return roots;
}

QString FolderChooser::path() const
{
    const QModelIndex current = Dir1->currentIndex();
    return current.isValid() ? QDir::cleanPath(m_model->filePath(current)) : QString();
}

void FolderChooser::setPath(const QString& folder)
{
    const QString wanted =
        QFileInfo(folder).isDir() ? QDir::cleanPath(QFileInfo(folder).absoluteFilePath()) : QDir::homePath();
    // The volume is the longest listed root that holds the folder (the home folder before "/").
    int chosen = 0;
    for (int i = 0; i < Drive1->count(); ++i) {
        const QString root = Drive1->itemText(i);
        if (holds(root, wanted) && root.size() >= Drive1->itemText(chosen).size())
            chosen = i;
    }
    Drive1->setCurrentIndex(chosen);
    Dir1->setRootIndex(m_model->setRootPath(Drive1->currentText()));
    const QModelIndex index = m_model->index(wanted);
    Dir1->setCurrentIndex(index);
    Dir1->scrollTo(index);
}

// Choosing a volume makes its root the current folder, as choosing a drive sets the folder list to it.
void FolderChooser::Drive1_Click()
{
    const QModelIndex root = m_model->setRootPath(Drive1->currentText());
    Dir1->setRootIndex(root);
    Dir1->setCurrentIndex(root);
}

} // namespace store
