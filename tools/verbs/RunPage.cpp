#include "verbs/RunPage.h"

#include <TvDesktop.h>

#include <mutex>
#include <sstream>
#include <string_view>

#include "log/Page.h"
#include "log/SessionBuilder.h"
#include "verbs/OutputFile.h"

namespace tool {

namespace {

/// Keeps the log while it lives.
class KeptLog {
  public:
    KeptLog() {
        tvdesktop::SetLogListener([this](std::string_view line) { Keep(line); });
    }
    ~KeptLog() { tvdesktop::SetLogListener(nullptr); }
    KeptLog(const KeptLog &) = delete;
    KeptLog &operator=(const KeptLog &) = delete;

    log::Session Read(const std::string &title) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::istringstream text(m_text);
        log::Session session = log::ReadSession(text, title);
        if (m_isFull)
            session.missing.emplace_back("the end of the run: its log became too long to keep");
        return session;
    }

  private:
    /// Two hours of a recording whose position is asked for twenty times a second.
    static constexpr std::size_t kMostBytes = 128U << 20U;

    void Keep(std::string_view line) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isFull = m_isFull || m_text.size() + line.size() > kMostBytes;
        if (!m_isFull)
            m_text += line;
    }

    std::mutex m_mutex;  ///< guards what follows: the library logs on several threads
    std::string m_text;
    bool m_isFull = false;
};

}  // namespace

void ExplainRun(const RunPageOptions &options, const std::string &title,
                const std::vector<std::string> &used, const std::function<void()> &run) {
    if (options.page.empty()) {
        run();
        return;
    }
    CheckApart(options.page, used);
    CheckTextFile(options.page, "", options.force);
    KeptLog log;
    const auto write = [&] {
        WriteTextFile(options.page, log::PageOf(log.Read(title)), options.force);
    };
    try {
        run();
    } catch (...) {
        try {
            write();
        } catch (const std::exception &) {  // why the run failed matters more
        }
        throw;
    }
    write();
}

}  // namespace tool
