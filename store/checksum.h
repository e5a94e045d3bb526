#pragma once

#include <QByteArray>

namespace store {

// CRC-32C (Castagnoli), as storage formats use it to tell the bytes they wrote from torn or stale
// ones. With the processor's CRC instruction where there is one.
quint32 crc32c(const QByteArray& bytes);

// The same without the instruction, as on processors that lack it.
quint32 crc32cByTable(const QByteArray& bytes);

} // namespace store
