/// @file
/// What the demo expected and what happened.
#ifndef TOOLS_VERBS_DEMOREPORT_H
#define TOOLS_VERBS_DEMOREPORT_H

#include <string>
#include <vector>

#include "text/Terminal.h"

namespace tool {

class DemoReport {
  public:
    /// Adds a row that is right when both texts are the same.
    void Expect(const std::string &what, const std::string &expected, const std::string &happened) {
        Expect(what, expected, happened, expected == happened);
    }
    /// Adds a row whose texts need not be the same to be right.
    void Expect(const std::string &what, const std::string &expected, const std::string &happened,
                bool isRight);

    void Print(Terminal &terminal) const;
    std::size_t Differences() const;

  private:
    struct Row {
        std::string what;
        std::string expected;
        std::string happened;
        bool isRight;
    };
    std::vector<Row> m_rows;
};

}  // namespace tool

#endif
