#include "log/Page.h"

#include <glib.h>

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

#include "log/Markup.h"
#include "log/PageAxis.h"
#include "log/PageLanes.h"
#include "log/PageStory.h"
#include "log/SessionText.h"
#include "PageText.h"
#include "text/TextParts.h"

namespace tool::log {

namespace {

constexpr std::size_t kMostFailures = 500;  // in the list; the lanes and the story have all
constexpr std::size_t kUnfolded = 8;        // items of a list
constexpr std::size_t kLargeLog = 8'000;    // lines; more are not all unfolded on paper

using Parts = std::map<std::string, std::string>;

/// Puts each part in the place that {{its name}} has in the template.
std::string Filled(const std::string &text, const Parts &parts) {
    std::string filled;
    std::size_t from = 0;
    for (std::size_t open = text.find("{{"); open != std::string::npos;
         open = text.find("{{", from)) {
        const std::size_t close = text.find("}}", open);
        filled.append(text, from, open - from);
        filled += parts.at(text.substr(open + 2, close - open - 2));
        from = close + 2;
    }
    return filled.append(text, from, std::string::npos);
}

/// @return the form in which a content policy allows this very text and no other
std::string PolicyHash(const std::string &text) {
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> sum(
        g_checksum_new(G_CHECKSUM_SHA256), &g_checksum_free);
    g_checksum_update(sum.get(), reinterpret_cast<const guchar *>(text.data()),
                      static_cast<gssize>(text.size()));
    guint8 digest[32];
    gsize size = sizeof digest;
    g_checksum_get_digest(sum.get(), digest, &size);
    const std::unique_ptr<char, decltype(&g_free)> coded(g_base64_encode(digest, size), &g_free);
    return std::string("'sha256-") + coded.get() + "'";
}

/// @return a style or script as HTML and XML both take it
std::string Embedded(const char *text) {
    return std::string("/*<![CDATA[*/\n") + text + "/*]]>*/";
}

std::size_t CountOf(const Session &session, StepKind kind) {
    std::size_t count = 0;
    for (const Step &step : session.steps)
        count += step.kind == kind ? step.count : 0;
    return count;
}

std::string Figure(const std::string &name, const std::string &value, const std::string &more,
                   const char *style = "") {
    std::string markup =
        std::string("<div class=\"") + style + "\"><dt>" + name + "</dt><dd>" + value;
    if (!more.empty())
        markup += " <small>" + more + "</small>";
    return markup + "</dd></div>\n";
}

std::string SpanText(const Session &session, const PageAxis &axis) {
    if (session.lines.empty())
        return "nothing";
    if (!session.hasTime)
        return "no times";
    const std::string clock = ClockText(axis.Length(), 1);
    return StartsWith(clock, "0:") ? clock.substr(2) + " s" : clock;
}

/// @return the log in three words, for the title of the browser's tab
std::string Health(const Session &session) {
    if (!session.runFailure.empty())
        return "the run failed";
    if (!session.failures.empty())
        return Counted(session.failures.size(), "failure");
    return session.unclearLines > 0 ? "cut or not understood" : "no failure";
}

std::string Figures(const Session &session, const PageAxis &axis) {
    const std::size_t failures = session.failures.size();
    const std::size_t foreign = session.foreignLines;
    const char *health = failures > 0 ? "bad" : session.unclearLines > 0 ? "" : "good";
    std::string markup = Figure("Failures", Grouped(failures), "", health);
    markup += Figure("Duration", SpanText(session, axis), "");
    markup += Figure("Requests", Grouped(CountOf(session, StepKind::Request)), "");
    markup += Figure("Events", Grouped(CountOf(session, StepKind::Event)), "");
    markup += Figure("Lines", Grouped(session.lines.size()),
                     foreign > 0 ? "and " + Grouped(foreign) + " of others" : "");
    if (session.unclearLines > 0)
        markup += Figure("Cut or not understood", Grouped(session.unclearLines), "lines", "bad");
    if (!session.missing.empty())
        markup += Figure("Missing", Grouped(session.missing.size()), "", "bad");
    return markup;
}

/// @return a list whose later items are folded, and a sentence about what it does not have
std::string FoldedList(const std::vector<std::string> &items, const std::string &rest) {
    std::string markup = "<ul>\n";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i == kUnfolded)
            markup += "</ul>\n<details class=\"more\"><summary>" + Grouped(items.size() - i) +
                      " more</summary><ul>\n";
        markup += "<li>" + items[i] + "</li>\n";
    }
    markup += items.size() > kUnfolded ? "</ul></details>\n" : "</ul>\n";
    return rest.empty() ? markup : markup + "<p>" + rest + "</p>\n";
}

std::string Section(const std::string &name, const std::string &title, const std::string &content) {
    return "<section id=\"" + name + "\" aria-labelledby=\"" + name + "-title\">\n<h2 id=\"" +
           name + "-title\">" + title + "</h2>\n" + content + "</section>";
}

std::string Failure(const Session &session, const PageAxis &axis, const PageStory &story,
                    std::size_t index) {
    const Step &step = session.steps[index];
    std::string markup = "<a href=\"" + story.LinkTo(index) + "\"><span class=\"at\">" +
                         axis.TextOf(step.firstLine) + "</span> <b>" + Escaped(step.title) + "</b>";
    if (!step.outcome.empty())
        markup += " <span class=\"outcome\">" + Escaped(step.outcome) + "</span>";
    const std::size_t cause = story.CauseOf(index);
    if (cause != index)
        markup += " <span class=\"cause\">in " + Escaped(session.steps[cause].title) + "</span>";
    markup += "</a>";
    const std::vector<std::size_t> &lines = story.LinesOf(index);
    if (!lines.empty())
        markup += "<code>" + Escaped(PageStory::Shortened(session.lines[lines.back()].message)) +
                  "</code>";
    return markup;
}

std::string Failures(const Session &session, const PageAxis &axis, const PageStory &story) {
    if (session.failures.empty())
        return "";
    std::vector<std::string> items;
    for (std::size_t i = 0; i < std::min(session.failures.size(), kMostFailures); ++i)
        items.push_back(Failure(session, axis, story, session.failures[i]));
    const std::size_t rest = session.failures.size() - items.size();
    return Section(
        "failures", "Failures",
        FoldedList(items,
                   rest == 0 ? "" : Grouped(rest) + " more are in the lanes and in the story."));
}

std::string Missing(const Session &session) {
    if (session.missing.empty())
        return "";
    std::vector<std::string> items;
    for (const std::string &missing : session.missing)
        items.push_back(Escaped(missing));
    return Section("missing", "What the log has lost", FoldedList(items, ""));
}

std::string LegendItem(const std::string &style, const std::string &shape,
                       const std::string &text) {
    return "<li><svg class=\"marker " + style +
           "\" width=\"18\" height=\"18\" viewBox=\"-9 -9 18 18\" aria-hidden=\"true\">"
           "<use href=\"#shape-" +
           shape + "\"/></svg>" + text + "</li>";
}

std::string Legend(const Session &session) {
    std::string markup;
    if (!session.failures.empty())
        markup += LegendItem("failure", "failure", "failure");
    for (const StepKind kind :
         {StepKind::Request, StepKind::Operation, StepKind::Callback, StepKind::Event})
        if (CountOf(session, kind) > 0)
            markup += LegendItem(TextOf(kind).shape, TextOf(kind).shape, TextOf(kind).name);
    const bool hasRepeats = std::any_of(session.steps.begin(), session.steps.end(),
                                        [](const Step &step) { return step.count > 1; });
    if (hasRepeats)
        markup +=
            LegendItem("request repeated", "request", "repeated at once, as far as the line goes");
    return markup;
}

/// @return what a reader must know before anything else; markup
std::string Note(const std::string &text) {
    return "<p class=\"note\">" + text + "</p>\n";
}

std::string Notes(const Session &session) {
    std::string notes;
    if (!session.runFailure.empty())
        notes += Note("The run failed: " + Escaped(session.runFailure) + ".");
    for (std::string mixed : MixedTexts(session)) {
        mixed.front() = 'L';
        notes += Note(mixed + ".");
    }
    return notes;
}

/// @return the choice to see what only the library's developers read
std::string Traces(const Session &session) {
    const std::size_t traces = CountOf(session, StepKind::Trace);
    if (traces == 0)
        return "";
    return "<p class=\"choice\"><label><input type=\"checkbox\" id=\"traces\"/> Show " +
           Counted(traces, "trace") + " for the library's developers</label></p>";
}

std::string LeftOut(const PageStory &story, std::size_t mostLines) {
    if (story.LeftOut() == 0)
        return "These are all steps of the log.";
    return "The log is too long for a page: " + Counted(story.LeftOut(), "step") +
           " without a failure, past the first " + Counted(mostLines, "line") +
           ", are not here. Nor are their lines.";
}

}  // namespace

std::string PageOf(const Session &session, std::size_t mostLines) {
    const PageAxis axis(session);
    const PageStory story(session, axis, mostLines);
    const Picture picture = LanesOf(session, axis, story);
    const std::string style = Embedded(kPageStyle);
    const std::string script = Embedded(kPageScript);
    // Where the log was is of no use to those whom the page is sent to.
    const std::string name = Escaped(session.name.substr(session.name.rfind('/') + 1));
    return Filled(
        kPageTemplate,
        {{"hashes", "style-src " + PolicyHash(style) + "; script-src " + PolicyHash(script)},
         {"title", name + ": " + Health(session)},
         {"style", style},
         {"size", session.lines.size() > kLargeLog ? "large" : "small"},
         {"name", name},
         {"notes", Notes(session)},
         {"figures", Figures(session, axis)},
         {"failures", Failures(session, axis, story)},
         {"missing", Missing(session)},
         {"names", picture.names},
         {"rows", picture.rows},
         {"legend", Legend(session)},
         {"absent", picture.absent.empty()
                        ? ""
                        : "<p class=\"absent\">Not in the log: " + picture.absent + ".</p>"},
         {"traces", Traces(session)},
         {"story", story.Text()},
         {"left-out", LeftOut(story, mostLines)},
         {"script", script}});
}

}  // namespace tool::log
