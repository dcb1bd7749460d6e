#include "ElfLibrary.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

/// The header of this program, which the linker names.
extern "C" const ElfW(Ehdr) __ehdr_start __attribute__((visibility("hidden")));

namespace doctor {

namespace {

/// @name Limits far above what any library of a TV has, for files that lie
/// @{
constexpr std::uint64_t kLargestFile = 256U << 20;  ///< bytes
constexpr std::size_t kMostEntries = 1000;
constexpr std::uint64_t kMostSymbols = 50'000;
constexpr std::uint64_t kLongestName = 4096;  ///< characters
/// @}

/// The types of elf.h for one width.
struct Elf32 {
    using Header = Elf32_Ehdr;
    using Segment = Elf32_Phdr;
    using Entry = Elf32_Dyn;
    using Symbol = Elf32_Sym;
    using Word = std::uint32_t;
};
struct Elf64 {
    using Header = Elf64_Ehdr;
    using Segment = Elf64_Phdr;
    using Entry = Elf64_Dyn;
    using Symbol = Elf64_Sym;
    using Word = std::uint64_t;
};

/// The bytes of a file, of which only those that exist are read.
class Bytes {
  public:
    explicit Bytes(const std::vector<unsigned char> &bytes) : m_bytes(bytes) {}

    template <typename Value>
    Value At(std::uint64_t offset, const char *what) const {
        Value value;
        if (m_bytes.size() < sizeof value || offset > m_bytes.size() - sizeof value)
            throw NotALibrary(std::string("is cut short or damaged: ") + what +
                              " is outside of it");
        std::memcpy(&value, m_bytes.data() + offset, sizeof value);
        return value;
    }

    /// @return the text up to its NUL, which comes before `end`
    std::string TextAt(std::uint64_t offset, std::uint64_t end) const {
        const std::uint64_t limit =
            std::min<std::uint64_t>({end, offset + kLongestName, m_bytes.size()});
        const auto *const start = m_bytes.data() + std::min(offset, limit);
        const auto *const stop = m_bytes.data() + limit;
        const auto *const nul = std::find(start, stop, '\0');
        if (nul == stop)
            throw NotALibrary("is cut short or damaged: a name is outside of it");
        return {start, nul};
    }

  private:
    const std::vector<unsigned char> &m_bytes;
};

template <typename Elf>
class Parser {
  public:
    explicit Parser(const std::vector<unsigned char> &bytes)
        : m_bytes(bytes), m_header(m_bytes.At<typename Elf::Header>(0, "the header")) {}

    ElfLibrary Parse() {
        if (m_header.e_type != ET_DYN)
            throw NotALibrary("is an ELF file, but not a shared library");
        ReadSegments();
        m_namesSize = ValueOf(DT_STRSZ).value_or(0);
        m_names = OffsetOf(ValueOf(DT_STRTAB).value_or(0));
        ElfLibrary library{};
        library.machine = {m_header.e_ident[EI_CLASS], m_header.e_machine};
        ReadEntries(library);
        ReadSymbols(library);
        return library;
    }

  private:
    using Segment = typename Elf::Segment;
    using Entry = typename Elf::Entry;
    using Symbol = typename Elf::Symbol;
    using Word = typename Elf::Word;

    void ReadSegments() {
        if (m_header.e_phnum > 0 && m_header.e_phentsize != sizeof(Segment))
            throw NotALibrary("is damaged: its segments have another size than on any machine");
        std::optional<Segment> dynamic;
        for (std::uint64_t i = 0; i < m_header.e_phnum; ++i) {
            const auto segment = m_bytes.At<Segment>(m_header.e_phoff + i * sizeof(Segment),
                                                     "the table of segments");
            if (segment.p_type == PT_LOAD)
                m_loaded.push_back(segment);
            else if (segment.p_type == PT_DYNAMIC)
                dynamic = segment;
        }
        if (!dynamic)
            throw NotALibrary("has no dynamic segment, so nothing can be loaded from it");
        for (std::uint64_t at = 0; dynamic->p_filesz - at >= sizeof(Entry); at += sizeof(Entry)) {
            m_entries.push_back(m_bytes.At<Entry>(dynamic->p_offset + at, "the dynamic segment"));
            if (m_entries.back().d_tag == DT_NULL)
                break;
            if (m_entries.size() > kMostEntries)
                throw NotALibrary("is damaged: its dynamic segment does not end");
        }
    }

    /// @return the value of the first dynamic entry of a kind
    std::optional<std::uint64_t> ValueOf(int tag) const {
        for (const Entry &entry : m_entries)
            if (entry.d_tag == tag)
                return entry.d_un.d_val;
        return std::nullopt;
    }

    /// @return the place in the file of what is loaded to an address
    std::uint64_t OffsetOf(std::uint64_t address) const {
        for (const Segment &segment : m_loaded)
            if (address >= segment.p_vaddr && address - segment.p_vaddr < segment.p_filesz)
                return segment.p_offset + (address - segment.p_vaddr);
        throw NotALibrary("is cut short or damaged: a table is in none of its segments");
    }

    std::string Name(std::uint64_t number) const {
        return m_bytes.TextAt(m_names + number, m_names + m_namesSize);
    }

    void ReadEntries(ElfLibrary &library) const {
        for (const Entry &entry : m_entries) {
            const std::uint64_t value = entry.d_un.d_val;
            switch (entry.d_tag) {
                case DT_SONAME:
                    library.soname = Name(value);
                    break;
                case DT_NEEDED:
                    library.needed.push_back(Name(value));
                    break;
                case DT_RPATH:
                    library.searchPaths.push_back({"RPATH", Name(value)});
                    break;
                case DT_RUNPATH:
                    library.searchPaths.push_back({"RUNPATH", Name(value)});
                    break;
                case DT_FLAGS_1:
                    library.isKept = (value & DF_1_NODELETE) != 0;
                    break;
                case DT_INIT_ARRAYSZ:
                    library.startFunctions = static_cast<std::size_t>(value / sizeof(Word));
                    break;
                default:
                    break;
            }
        }
    }

    void ReadSymbols(ElfLibrary &library) const {
        const auto table = ValueOf(DT_SYMTAB);
        const std::uint64_t count = SymbolCount();
        if (!table || count == 0)
            return;
        if (count > kMostSymbols)
            throw NotALibrary("is damaged: it announces " + std::to_string(count) + " symbols");
        const std::uint64_t start = OffsetOf(*table);
        for (std::uint64_t i = 1; i < count; ++i) {  // the first is none
            const auto symbol =
                m_bytes.At<Symbol>(start + i * sizeof(Symbol), "the table of symbols");
            const unsigned binding = symbol.st_info >> 4;
            if (symbol.st_name == 0 || binding == STB_LOCAL)
                continue;
            if (symbol.st_shndx != SHN_UNDEF)
                library.exported.push_back(Name(symbol.st_name));
            else if (binding != STB_WEAK)
                library.required.push_back(Name(symbol.st_name));
        }
    }

    /// The size of the table is written nowhere: the tables by which the loader finds a symbol
    /// show it.
    std::uint64_t SymbolCount() const {
        if (const auto hash = ValueOf(DT_HASH))
            return m_bytes.At<std::uint32_t>(OffsetOf(*hash) + 4, "the hash table");
        if (const auto hash = ValueOf(DT_GNU_HASH))
            return CountByGnuHash(OffsetOf(*hash));
        return 0;
    }

    /// The table has a header of four words, a filter, for each bucket the number of its first
    /// symbol, and a word for each symbol from `firstHashed` on, odd for the last of a bucket.
    std::uint64_t CountByGnuHash(std::uint64_t table) const {
        const auto word = [&](std::uint64_t offset) {
            return m_bytes.At<std::uint32_t>(offset, "the hash table");
        };
        const std::uint64_t bucketCount = word(table);
        const std::uint64_t firstHashed = word(table + 4);
        const std::uint64_t filterWords = word(table + 8);
        const std::uint64_t buckets = table + 16 + filterWords * sizeof(Word);
        const std::uint64_t chains = buckets + 4 * bucketCount;
        std::uint64_t last = 0;
        for (std::uint64_t i = 0; i < bucketCount; ++i)
            last = std::max<std::uint64_t>(last, word(buckets + 4 * i));
        if (last < firstHashed)
            return firstHashed;
        while ((word(chains + 4 * (last - firstHashed)) & 1) == 0)
            ++last;
        return last + 1;
    }

    Bytes m_bytes;
    typename Elf::Header m_header;
    std::vector<Segment> m_loaded;
    std::vector<Entry> m_entries;
    std::uint64_t m_names = 0;  ///< place of the table of names in the file
    std::uint64_t m_namesSize = 0;
};

/// A file descriptor that is closed at the end.
struct OpenFile {
    explicit OpenFile(const std::string &path)
        : descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~OpenFile() {
        if (descriptor >= 0)
            close(descriptor);
    }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    int descriptor;
};

std::vector<unsigned char> ReadFile(const std::string &path) {
    const auto failed = [] {
        return NotALibrary("cannot be read: " + std::string(std::strerror(errno)));
    };
    const OpenFile file(path);
    struct stat status {};
    if (file.descriptor < 0 || fstat(file.descriptor, &status) != 0)
        throw failed();
    if (!S_ISREG(status.st_mode))
        throw NotALibrary("cannot be read: it is not a regular file");
    if (static_cast<std::uint64_t>(status.st_size) > kLargestFile)
        throw NotALibrary("is larger than 256 MiB, which no library of this kind is");
    std::vector<unsigned char> bytes(static_cast<std::size_t>(status.st_size));
    std::size_t have = 0;
    while (have < bytes.size()) {
        const ssize_t got = read(file.descriptor, bytes.data() + have, bytes.size() - have);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw failed();
        if (got == 0)
            break;
        have += static_cast<std::size_t>(got);
    }
    bytes.resize(have);
    return bytes;
}

}  // namespace

Machine ThisMachine() {
    return {__ehdr_start.e_ident[EI_CLASS], __ehdr_start.e_machine};
}

std::string MachineText(Machine machine) {
    static constexpr struct {
        std::uint16_t number;
        const char *name;
    } kNames[] = {{EM_386, "x86"},       {EM_X86_64, "x86-64"}, {EM_ARM, "ARM"},
                  {EM_AARCH64, "ARM64"}, {EM_MIPS, "MIPS"},     {EM_SH, "SuperH"}};
    std::string name = "machine " + std::to_string(machine.number);
    for (const auto &known : kNames)
        if (known.number == machine.number)
            name = known.name;
    return (machine.elfClass == ELFCLASS64 ? "64-bit " : "32-bit ") + name;
}

ElfLibrary ParseElf(const std::vector<unsigned char> &bytes) {
    if (bytes.size() < EI_NIDENT || std::memcmp(bytes.data(), ELFMAG, SELFMAG) != 0)
        throw NotALibrary("is not an ELF file");
    if (bytes[EI_DATA] != __ehdr_start.e_ident[EI_DATA])
        throw NotALibrary("is for a machine of the other byte order");
    switch (bytes[EI_CLASS]) {
        case ELFCLASS32:
            return Parser<Elf32>(bytes).Parse();
        case ELFCLASS64:
            return Parser<Elf64>(bytes).Parse();
        default:
            throw NotALibrary("is damaged: it is neither of 32 nor of 64 bit");
    }
}

ElfLibrary ReadElf(const std::string &path) {
    return ParseElf(ReadFile(path));
}

}  // namespace doctor
