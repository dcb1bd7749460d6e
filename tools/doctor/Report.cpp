#include "Report.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace doctor {

namespace {

std::string Readable(const std::string &symbol) {
    int failure = 0;
    const std::unique_ptr<char, void (*)(void *)> name(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &failure), std::free);
    return symbol.compare(0, 2, "_Z") == 0 && name ? name.get() : symbol;
}

}  // namespace

std::string ListText(const std::vector<std::string> &symbols) {
    std::string text;
    for (const std::string &symbol : symbols)
        text += (text.empty() ? "" : ", ") + Readable(symbol);
    return text;
}

}  // namespace doctor
