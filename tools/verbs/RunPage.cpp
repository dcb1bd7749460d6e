#include "verbs/RunPage.h"

#include <TvDesktop.h>

#include <iostream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string_view>

#include "log/Page.h"
#include "log/SessionBuilder.h"
#include "verbs/OutputFile.h"

namespace tool {

namespace {

/// Lines of a log.
class KeptLines {
  public:
    void Keep(std::string_view line) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isFull = m_isFull || m_text.size() + line.size() > kMostBytes;
        if (!m_isFull)
            m_text += line;
    }

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

    std::mutex m_mutex;  ///< guards what follows: the library logs on several threads
    std::string m_text;
    bool m_isFull = false;
};

/// Keeps the log while it lives.
class KeptLog {
  public:
    KeptLog() {
        // A line that another thread is logging may come after the end of this object: the listener
        // shares the lines.
        tvdesktop::SetLogListener([lines = m_lines](std::string_view line) { lines->Keep(line); });
    }
    ~KeptLog() { tvdesktop::SetLogListener(nullptr); }
    KeptLog(const KeptLog &) = delete;
    KeptLog &operator=(const KeptLog &) = delete;

    KeptLines &Lines() { return *m_lines; }

  private:
    std::shared_ptr<KeptLines> m_lines = std::make_shared<KeptLines>();
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
    const auto write = [&](const std::string &runFailure) {
        log::Session session = log.Lines().Read(title);
        session.runFailure = runFailure;
        WriteTextFile(options.page, log::PageOf(session), options.force);
    };
    try {
        run();
    } catch (const std::exception &failure) {
        try {
            write(failure.what());
        } catch (const std::exception &error) {  // why the run failed is said last
            std::cerr << "mox-pvr: " << error.what() << '\n';
        }
        throw;
    }
    write("");
}

}  // namespace tool
