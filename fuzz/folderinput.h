#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>

namespace fuzz {

// Turns arbitrary bytes into the files of a data folder and runs them through the public classes: the
// reader lists every security and reads every bar, the check runs, and a writer opens the folder, adds
// a security and writes it. The bytes are a sequence of chunks: one byte choosing the file (MASTER,
// EMASTER, XMASTER, F1.DAT, F2.DAT, F256.MWD), two bytes of length (little-endian), then the contents.
// `folder` must exist; its files are replaced.
void runFolderInput(const uint8_t* data, size_t size, const QString& folder);

} // namespace fuzz
