/// @file
/// Little-endian byte records: the requests that come in, the replies and events that go out.
#ifndef MOXPVR_WIRERECORD_H
#define MOXPVR_WIRERECORD_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mox {

/// Size of a decoded request; what a request leaves out of it reads as zero.
inline constexpr std::size_t kRecordSize = 8192;

/// Size of a file name or uri field, its NUL included.
inline constexpr std::size_t kTextFieldSize = 256;

/// Reads the fields of a request record at offsets counted from the command word. A view: the bytes
/// belong to the dispatcher and hold every field that an operation names.
class WireRecord {
  public:
    explicit WireRecord(unsigned char *bytes) : m_bytes(bytes) {}

    std::uint8_t U8(std::size_t offset) const { return m_bytes[offset]; }
    std::uint16_t U16(std::size_t offset) const {
        return static_cast<std::uint16_t>(Unsigned(offset, 2));
    }
    std::uint32_t U32(std::size_t offset) const {
        return static_cast<std::uint32_t>(Unsigned(offset, 4));
    }
    std::int32_t I32(std::size_t offset) const { return static_cast<std::int32_t>(U32(offset)); }
    std::uint64_t U64(std::size_t offset) const { return Unsigned(offset, 8); }

    /// An IEEE 754 double.
    double F64(std::size_t offset) const {
        const std::uint64_t bits = U64(offset);
        double value = 0.0;
        static_assert(sizeof value == sizeof bits);
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    /// A file name or uri of 256 bytes, in place. One that does not end in its field is cut to 255
    /// characters there, so that nobody after this reads on.
    char *Text(std::size_t offset) const {
        m_bytes[offset + kTextFieldSize - 1] = '\0';
        return reinterpret_cast<char *>(m_bytes + offset);
    }

  private:
    std::uint64_t Unsigned(std::size_t offset, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t i = width; i > 0; --i)
            value = value << 8 | m_bytes[offset + i - 1];
        return value;
    }

    unsigned char *m_bytes;
};

/// Writes the low `width` bytes of a value, least significant first.
inline void PutLittleEndian(unsigned char *target, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i)
        target[i] = static_cast<unsigned char>(value >> (8 * i));
}

/// Builds a reply of `Words` 32-bit words; wider values give their low 32 bits.
template <std::size_t Words>
class ReplyRecord {
  public:
    void Put(std::size_t word, std::uint64_t value) {
        PutLittleEndian(m_bytes + 4 * word, value, 4);
    }
    unsigned char *data() { return m_bytes; }
    static constexpr unsigned int size() { return 4 * Words; }

  private:
    unsigned char m_bytes[4 * Words] = {};
};

}  // namespace mox

#endif
