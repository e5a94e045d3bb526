#include "checksum.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <nmmintrin.h>
#endif

namespace store {

namespace {

quint32 crc32cByTable(quint32 crc, const uchar* bytes, size_t size)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> entries{};
        for (quint32 i = 0; i < 256; ++i) {
            quint32 value = i;
            for (int bit = 0; bit < 8; ++bit)
                value = (value >> 1) ^ (value & 1 ? 0x82F63B78u : 0); // the polynomial, bits reversed
            entries[i] = value;
        }
        return entries;
    }();
    for (; size > 0; --size)
        crc = table[(crc ^ *bytes++) & 0xFF] ^ (crc >> 8);
    return crc;
}

#if defined(__x86_64__)
__attribute__((target("sse4.2"))) quint32 crc32cByInstruction(quint32 crc, const uchar* bytes, size_t size)
{
    quint64 wide = crc;
    for (; size >= 8; size -= 8, bytes += 8) {
        quint64 word;
        std::memcpy(&word, bytes, 8);
        wide = _mm_crc32_u64(wide, word);
    }
    crc = quint32(wide);
    for (; size > 0; --size)
        crc = _mm_crc32_u8(crc, *bytes++);
    return crc;
}
#endif

} // namespace

quint32 crc32c(const QByteArray& bytes)
{
    const auto* data = reinterpret_cast<const uchar*>(bytes.constData());
    const size_t size = size_t(bytes.size());
#if defined(__x86_64__)
    static const bool instruction = __builtin_cpu_supports("sse4.2");
    if (instruction)
        return ~crc32cByInstruction(~0u, data, size);
#endif
    return ~crc32cByTable(~0u, data, size);
}

quint32 crc32cByTable(const QByteArray& bytes)
{
    return ~crc32cByTable(~0u, reinterpret_cast<const uchar*>(bytes.constData()), size_t(bytes.size()));
}

} // namespace store
