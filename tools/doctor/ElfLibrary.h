/// @file
/// What an ELF file says of itself to the dynamic loader.
#ifndef TOOLS_DOCTOR_ELFLIBRARY_H
#define TOOLS_DOCTOR_ELFLIBRARY_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace doctor {

/// What kind of machine a file is for.
struct Machine {
    unsigned char elfClass;  ///< ELFCLASS32 or ELFCLASS64
    std::uint16_t number;    ///< EM_ARM and others of elf.h
};

inline bool operator==(const Machine &left, const Machine &right) {
    return left.elfClass == right.elfClass && left.number == right.number;
}

/// @return the machine that this program was built for
Machine ThisMachine();

/// @return such as "32-bit ARM"
std::string MachineText(Machine machine);

/// Where the loader looks for the libraries that this one needs.
struct SearchPath {
    const char *kind;     ///< "RPATH" or "RUNPATH"
    std::string folders;  ///< separated by colons
};

/// A shared library as its dynamic segment describes it. Section headers are left aside: the loader
/// does not need them, and a stripped file may lack them.
struct ElfLibrary {
    Machine machine;
    std::string soname;  ///< empty when it has none
    std::vector<std::string> needed;
    std::vector<SearchPath> searchPaths;
    std::vector<std::string> exported;  ///< names of defined symbols that others can reach
    std::vector<std::string> required;  ///< names of symbols that others must define; no weak ones
    std::size_t startFunctions = 0;     ///< entries of the init array; one is the compiler's own
    bool isKept = false;                ///< stays loaded after dlclose
};

/// A file that cannot be taken for a shared library; its text continues "the file ...".
class NotALibrary : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads a library. Whatever the bytes say, nothing outside of them is read.
/// @param bytes  the whole file, in 32 or 64 bit and the byte order of this machine
/// @throws NotALibrary
ElfLibrary ParseElf(const std::vector<unsigned char> &bytes);

/// The same for a file.
/// @throws NotALibrary for what cannot be read, too
ElfLibrary ReadElf(const std::string &path);

}  // namespace doctor

#endif
