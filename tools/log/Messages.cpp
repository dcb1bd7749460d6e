#include "log/Messages.h"

#include <algorithm>
#include <cctype>

#include "text/TextParts.h"

namespace tool::log {

namespace {

/// How far a text follows a pattern.
enum class Fit { None, Beginning, Whole };

/// Follows a pattern through a text, collecting the values that end before the text does.
class Comparison {
  public:
    Comparison(std::string_view pattern, std::string_view text) : m_pattern(pattern), m_text(text) {
        m_fit = Compare();
    }

    Fit Result() const { return m_fit; }
    bool EndsOpen() const { return m_endsOpen; }
    std::size_t LiteralLength() const { return m_literalLength; }
    std::vector<Value> &Values() { return m_values; }

  private:
    /// @return the pattern's next characters that are printed as they are
    std::string_view TakeLiteral() {
        const std::string_view literal = m_pattern.substr(0, m_pattern.find('{'));
        m_pattern.remove_prefix(literal.size());
        m_literalLength += literal.size();
        return literal;
    }

    Fit Compare() {
        std::string_view literal = TakeLiteral();
        if (!StartsWith(m_text, literal))
            return StartsWith(literal, m_text) ? Fit::Beginning : Fit::None;
        m_text.remove_prefix(literal.size());
        while (!m_pattern.empty()) {
            const std::size_t nameEnd = m_pattern.find('}');
            const std::string_view name = m_pattern.substr(1, nameEnd - 1);
            m_pattern.remove_prefix(nameEnd + 1);
            literal = TakeLiteral();
            if (!TakeValue(name, literal))
                return m_fit;
        }
        return m_text.empty() ? Fit::Whole : Fit::None;
    }

    /// Takes a value and the literal after it. @return false when the comparison has ended
    bool TakeValue(std::string_view name, std::string_view literal) {
        const bool isLast = m_pattern.empty();
        std::size_t end = std::string_view::npos;
        if (isLast)
            end = EndsWith(m_text, literal) ? m_text.size() - literal.size() : end;
        else
            end = m_text.find(literal);
        if (end == std::string_view::npos) {
            m_fit = TakeBeginning(name, literal);
            return false;
        }
        const std::string_view value = m_text.substr(0, end);
        if (!IsPlausible(name, value)) {
            m_fit = Fit::None;
            return false;
        }
        m_text.remove_prefix(end + literal.size());
        m_endsOpen = isLast && literal.empty();
        if (!name.empty())
            m_values.emplace_back(name, value);
        return true;
    }

    /// Takes a value after which the text ends, be it inside the literal that follows.
    Fit TakeBeginning(std::string_view name, std::string_view literal) {
        for (std::size_t length = std::min(literal.size(), m_text.size());; --length) {
            const std::string_view value = m_text.substr(0, m_text.size() - length);
            if (EndsWith(m_text, literal.substr(0, length)) && IsPlausible(name, value)) {
                if (length > 0 && !name.empty())
                    m_values.emplace_back(name, value);
                return Fit::Beginning;
            }
            if (length == 0)
                return Fit::None;
        }
    }

    /// Texts have any characters, numbers have not.
    static bool IsPlausible(std::string_view name, std::string_view value) {
        for (const std::string_view text :
             {"text", "path", "fileName", "element", "built", "missing", "handedOn"})
            if (name == text)
                return true;
        return std::all_of(value.begin(), value.end(), [](unsigned char c) {
            return std::isalnum(c) != 0 || c == '-' || c == '+' || c == '.' || c == '(' ||
                   c == ')';  // a null pointer prints as "(nil)"
        });
    }

    std::string_view m_pattern;
    std::string_view m_text;
    std::vector<Value> m_values;
    std::size_t m_literalLength = 0;
    bool m_endsOpen = false;
    Fit m_fit = Fit::None;
};

bool MeansTheSame(const Message &left, const Message &right) {
    return left.role == right.role && left.kind == right.kind &&
           std::string_view(left.title) == right.title && left.isFailure == right.isFailure;
}

/// @return a message without markers and name of an operation: "[FAT] Stop | this func" is
///         "this func"
std::string_view WithoutMarkers(std::string_view text) {
    for (bool hasMarker = true; hasMarker;) {
        hasMarker = false;
        for (const std::string_view marker : {"[FAT]", "[ZZZ]", " ", "| "}) {
            if (!StartsWith(text, marker))
                continue;
            text.remove_prefix(marker.size());
            hasMarker = true;
        }
        if (StartsWith(text, "|"))
            text.remove_prefix(1);
    }
    const auto nameEnd = std::find_if(
        text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) == 0 && c != '_'; });
    const std::string_view afterName =
        text.substr(static_cast<std::size_t>(nameEnd - text.begin()));
    if (nameEnd != text.begin() && StartsWith(afterName, " | ")) {
        text = afterName.substr(3);
        while (StartsWith(text, " "))
            text.remove_prefix(1);
    }
    return text;
}

}  // namespace

Match FindMessage(std::string_view text) {
    text = WithoutMarkers(text);
    Match best;
    Match beginning;
    std::size_t bestLength = 0;
    bool isAmbiguous = false;
    for (const Message &message : Messages()) {
        Comparison comparison(message.pattern, text);
        if (comparison.Result() == Fit::None)
            continue;
        if (comparison.Result() == Fit::Beginning) {
            isAmbiguous = isAmbiguous || (beginning.message != nullptr &&
                                          !MeansTheSame(*beginning.message, message));
            if (beginning.message == nullptr ||
                comparison.Values().size() > beginning.values.size())
                beginning = {&message, std::move(comparison.Values()), true, false};
        } else if (best.message == nullptr || comparison.LiteralLength() > bestLength) {
            best = {&message, std::move(comparison.Values()), false, comparison.EndsOpen()};
            bestLength = comparison.LiteralLength();
        }
    }
    if (best.message != nullptr)
        return best;
    if (isAmbiguous)
        return {nullptr, {}, true, false};
    return beginning;
}

}  // namespace tool::log
