/// @file
/// What the tool shows: lines, and on a terminal a status line under them, colour and keys.
#ifndef TOOLS_TEXT_TERMINAL_H
#define TOOLS_TEXT_TERMINAL_H

#include <cstdint>
#include <string>

namespace tool {

enum class Style { Plain, Title, Faint, Good, Bad };

/// Standard output. A status line and colour appear only on a terminal that understands escape
/// sequences (TERM is set and not "dumb"); NO_COLOR switches colour off (https://no-color.org).
///
/// Threads: thread-bound.
class Terminal {
  public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    bool HasStatusLine() const { return m_hasEscapes; }

    /// Prints a line above the status line.
    void Line(const std::string &text, Style style = Style::Plain);
    /// Prints lines that are complete as they are.
    void Text(const std::string &text);
    /// Replaces the status line, cut to the terminal's width; nothing where there is none.
    void Status(const std::string &text);
    /// Takes the status line away.
    void ClearStatus();

    /// @return `text` in a style, or as it is where there is no colour
    std::string Paint(const std::string &text, Style style) const;

  private:
    bool m_hasEscapes;
    bool m_hasColour;
    bool m_hasStatus = false;
};

/// @throws Failure when something that a Terminal printed could not be written
void CheckStandardOutput();

/// @return "[=====>    ]", filled by position / duration; empty for an unknown duration
std::string Bar(std::int64_t position, std::int64_t duration);

/// Keys that are not characters.
enum Key : int { kKeyNone = -1, kKeyLeft = 0x100, kKeyRight };

/// Reads single keys while it lives, when standard input and output are terminals. The terminal's
/// own mode comes back on every way out: at the end, on a signal that ends the program, and while
/// the program is suspended. One at a time.
class Keyboard {
  public:
    Keyboard();
    ~Keyboard();
    Keyboard(const Keyboard &) = delete;
    Keyboard &operator=(const Keyboard &) = delete;

    /// @return whether a user may press one
    bool IsActive() const { return m_isActive; }

    /// @return the next key that was pressed, kKeyNone when there is none; never waits
    int Next();

  private:
    int NextByte();

    bool m_isActive = false;
};

/// Asks SIGINT, SIGTERM and SIGHUP to end the work in order instead of killing the program. One
/// that comes more than half a second after the first kills it.
void CatchStopSignals();
/// @return whether one of them came
bool StopRequested();

/// While it lives, these signals end the program at once, and so does one that came before: for
/// long work with nothing to end in order. The terminal's own mode comes back. One at a time.
class StopAtOnce {
  public:
    StopAtOnce();
    ~StopAtOnce();
    StopAtOnce(const StopAtOnce &) = delete;
    StopAtOnce &operator=(const StopAtOnce &) = delete;
};

}  // namespace tool

#endif
