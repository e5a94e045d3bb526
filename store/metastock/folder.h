#pragma once

#include "datafile.h"
#include "indexfiles.h"
#include "store/status.h"

#include <QHash>
#include <QString>

#include <vector>

namespace store {
class FileSystem;
}

namespace store::metastock {

// The index of a data folder: the securities of MASTER (with EMASTER's long names and field sets) and
// of XMASTER, with the header records kept for rewriting. File names are matched case-insensitively,
// because folders copied from other systems often carry lower-case names.
struct FolderIndex
{
    QString path;
    QHash<QString, QString> files; // upper-case name -> name as it is in the folder

    QString masterFile; // names as found in the folder, empty when absent
    QString emasterFile;
    QString xmasterFile;
    QByteArray masterHeader;
    QByteArray emasterHeader;
    QByteArray xmasterHeader;
    int xmasterNext = 0; // the XMASTER header's next file number

    std::vector<IndexEntry> masterEntries; // in MASTER record order
    std::vector<IndexEntry> xmasterEntries;

    bool hasIndexFiles() const { return !masterFile.isEmpty() || !emasterFile.isEmpty() || !xmasterFile.isEmpty(); }

    // The name a file has in the folder, or empty text when the folder has no such file.
    QString actualName(const QString& name) const { return files.value(name.toUpper()); }

    // Every security, in file-number order (F1.DAT, F2.DAT, ..., F256.MWD, ...).
    std::vector<const IndexEntry*> securities() const;
};

// Reads the index files of `folder`. Fails when the folder is missing or a file cannot be read; what is
// wrong inside the files is reported in `problems` (see Problem::damage).
Status readFolderIndex(FileSystem& fs, const QString& folder, FolderIndex& index, Problems& problems);

// The bars of one security. Fails with a Damaged error naming the file when it cannot be read safely.
Status
readBars(FileSystem& fs, const FolderIndex& index, const IndexEntry& entry, std::vector<Bar>& bars, Problems& problems);

bool hasDamage(const Problems& problems);
// The first damage as an error naming its file (ok when there is none).
Status damageStatus(const Problems& problems);

// Everything that is wrong with a folder: every count, size, offset and date of the index files checked
// against the data files. An empty list means the folder is sound.
Status checkFolder(FileSystem& fs, const QString& folder, Problems& problems);

} // namespace store::metastock
