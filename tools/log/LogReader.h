/// @file
/// Finds the library's lines in a log.
#ifndef TOOLS_LOG_LOGREADER_H
#define TOOLS_LOG_LOGREADER_H

#include <istream>
#include <string>
#include <string_view>
#include <vector>

#include "log/Session.h"
#include "log/TimeStamp.h"

namespace tool::log {

/// A line of the library and how much of the log's line it was found in.
struct FoundLine {
    Line line;
    std::size_t length =
        0;  ///< of the log's line in bytes, what comes before the library's included
    bool isTruncated = false;  ///< the reader or the log has not the whole of it
};

/// Reads a log line by line, from a file or a pipe. Lines end in LF, CRLF, CR or NUL, or with the
/// log; colours and the rest of a JSON object after a line are not part of it. Any bytes are a log:
/// what is not a line of the library is counted as one of others. Nothing of a line is kept beyond
/// kLongestLine.
///
/// Threads: thread-bound.
class LogReader {
  public:
    /// The longest request has 16384 characters.
    static constexpr std::size_t kLongestLine = 32768;

    explicit LogReader(std::istream &log) : m_log(log) {}

    /// @return the library's lines in the log's next line, more than one where writers have got in
    ///         each other's way; empty for lines of others
    /// @param isEnd  out: the log has ended
    std::vector<FoundLine> Next(bool &isEnd);

    /// @return lines without one of the library, blank ones not counted
    std::size_t ForeignLines() const { return m_foreignLines; }

    /// @return the first bytes of what was read
    const std::string &FirstBytes() const { return m_firstBytes; }

  private:
    using Traits = std::char_traits<char>;

    bool ReadLine();
    Traits::int_type TakeByte();
    bool TakeIf(char expected);
    void TakeRestOfLineEnd(char first);

    std::istream &m_log;
    TimeReader m_times;
    std::string m_text;
    std::string m_firstBytes;
    std::size_t m_number = 0;
    std::size_t m_emptyLines = 0;  ///< after the line that was read, before the next
    std::size_t m_foreignLines = 0;
    bool m_isTruncated = false;
};

}  // namespace tool::log

#endif
