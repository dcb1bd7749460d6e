#include "verbs/DemoReport.h"

#include <algorithm>

namespace tool {

namespace {

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width) + 2, ' ');
    return text;
}

}  // namespace

void DemoReport::Expect(const std::string &what, const std::string &expected,
                        const std::string &happened, bool isRight) {
    m_rows.push_back({what, expected, happened, isRight});
}

void DemoReport::Print(Terminal &terminal) const {
    const Row heading{"What", "Expected", "Happened", true};
    std::size_t what = heading.what.size();
    std::size_t expected = heading.expected.size();
    std::size_t happened = heading.happened.size();
    for (const Row &row : m_rows) {
        what = std::max(what, row.what.size());
        expected = std::max(expected, row.expected.size());
        happened = std::max(happened, row.happened.size());
    }
    const auto text = [&](const Row &row) {
        return Padded(row.what, what) + Padded(row.expected, expected) +
               Padded(row.happened, happened);
    };
    terminal.Line(text(heading) + "Ok", Style::Title);
    for (const Row &row : m_rows)
        terminal.Line(text(row) + (row.isRight ? terminal.Paint("yes", Style::Good)
                                               : terminal.Paint("NO", Style::Bad)));
}

std::size_t DemoReport::Differences() const {
    return static_cast<std::size_t>(
        std::count_if(m_rows.begin(), m_rows.end(), [](const Row &row) { return !row.isRight; }));
}

}  // namespace tool
