#include <glib.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "log/Page.h"

namespace tool::log {
namespace {

/// A page as a parser reads it.
struct Page {
    std::map<std::string, int> elements;
    std::multiset<std::string> ids;
    std::vector<std::string> links;
    std::vector<double> places;  // percent
    std::string text;
    std::string error;
};

void NoteElement(GMarkupParseContext * /*context*/, const gchar *name, const gchar **names,
                 const gchar **values, gpointer data, GError ** /*error*/) {
    Page &page = *static_cast<Page *>(data);
    ++page.elements[name];
    for (; *names != nullptr; ++names, ++values) {
        const std::string attribute = *names;
        const std::string value = *values;
        if (attribute == "id")
            page.ids.insert(value);
        else if (attribute == "href" || attribute == "src" || attribute == "action")
            page.links.push_back(value);
        else if (!value.empty() && value.back() == '%')
            page.places.push_back(std::strtod(value.c_str(), nullptr));
        else if (attribute == "style" || attribute.compare(0, 2, "on") == 0)
            page.error += "not allowed by the policy: " + attribute;
    }
}

void NoteText(GMarkupParseContext * /*context*/, const gchar *text, gsize size, gpointer data,
              GError ** /*error*/) {
    static_cast<Page *>(data)->text.append(text, size);
}

Page Parsed(const std::string &markup) {
    Page page;
    const GMarkupParser parser{&NoteElement, nullptr, &NoteText, nullptr, nullptr};
    const std::unique_ptr<GMarkupParseContext, decltype(&g_markup_parse_context_free)> context(
        g_markup_parse_context_new(&parser, GMarkupParseFlags{}, &page, nullptr),
        &g_markup_parse_context_free);
    GError *error = nullptr;
    if (!g_markup_parse_context_parse(context.get(), markup.data(),
                                      static_cast<gssize>(markup.size()), &error) ||
        !g_markup_parse_context_end_parse(context.get(), &error)) {
        page.error += error->message;
        g_error_free(error);
    }
    return page;
}

/// Every id once, and every link to one of them: nothing is fetched, nothing is out of reach.
void ExpectWhole(const Page &page) {
    EXPECT_EQ(page.error, "");
    for (const std::string &id : page.ids)
        EXPECT_EQ(page.ids.count(id), 1U) << id;
    for (const std::string &link : page.links)
        EXPECT_TRUE(link.front() == '#' && page.ids.count(link.substr(1)) == 1) << link;
    for (const double place : page.places)
        EXPECT_TRUE(place >= 0 && place <= 100) << place;
}

/// A log of so many lines, each with a step of its own; every text in it is this one.
Session SessionOf(const std::string &text, std::size_t lines) {
    Session session;
    session.name = text;
    session.missing = {text};
    session.hasTime = true;
    for (std::size_t i = 0; i < lines; ++i) {
        session.lines.push_back({i + 1, static_cast<double>(i), text, text, 1, text, false});
        Step step;
        step.kind = static_cast<StepKind>(i % 10);
        step.title = step.outcome = text;
        step.values = {{text, text}};
        step.depth = i % 3;
        step.firstLine = step.lastLine = i;
        session.steps.push_back(step);
        session.stepOf.push_back(i);
    }
    for (const Lane lane : {Lane::RecorderState, Lane::PlaybackState, Lane::Rate, Lane::VideoMute,
                            Lane::SoundMute, Lane::Channel})
        session.stretches.push_back({lane, Side::Playback, text, 0, lines - 1, false});
    return session;
}

void Fail(Session &session, std::size_t step) {
    session.steps[step].isFailure = true;
    session.failures.push_back(step);
}

TEST(Page, TakesTextsForTextsOnly) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"</script><script>alert(1)</script>", "</script><script>alert(1)</script>"},
        {"\"><b onclick='x'>&amp;]]>{{script}}", "\"><b onclick='x'>&amp;]]>{{script}}"},
        {std::string("\x1b[31m\r\0\x7f", 8), "\u241b[31m\u240d\ufffd\u2421"},
        {"\xff\xc3(\xed\xa0\x80", "\ufffd\ufffd(\ufffd\ufffd\ufffd"},
        {"\u202e\u200f\u2066\u0085\ufffe", "\\u{202e}\\u{200f}\\u{2066}\\u{85}\\u{fffe}"},
    };
    const Page plain = Parsed(PageOf(SessionOf("text", 20)));
    for (const auto &[text, shown] : cases) {
        const Page page = Parsed(PageOf(SessionOf(text, 20)));
        ExpectWhole(page);
        EXPECT_EQ(page.elements, plain.elements) << shown;
        EXPECT_NE(page.text.find(shown), std::string::npos) << shown;
    }
}

TEST(Page, HasEveryLineAndLeadsToEveryStep) {
    Session session = SessionOf("text", 900);
    for (Line &line : session.lines)
        line.message = "(message " + std::to_string(line.number) + ")";
    session.steps[5].count = 7;
    session.runFailure = "the disk is <full>";
    session.stepOf[700] = session.stepOf[10] = 5;  // lines of a step lie apart
    Fail(session, 400);
    const Page page = Parsed(PageOf(session));
    ExpectWhole(page);
    for (std::size_t i = 0; i < session.steps.size(); ++i)
        EXPECT_EQ(page.ids.count("s" + std::to_string(i)), 1U) << i;
    for (const Line &line : session.lines)
        EXPECT_NE(page.text.find(line.message), std::string::npos) << line.message;
    EXPECT_NE(page.text.find("all steps"), std::string::npos);
    EXPECT_NE(page.text.find("The run failed: the disk is <full>"), std::string::npos);
    EXPECT_EQ(page.elements.at("dt"), 6 + 900) << "figures of the log, and a value of each step";
    EXPECT_GT(page.elements.at("use"), 100) << "a marker each, where they do not cover each other";
}

TEST(Page, NamesSpanAndAxis) {
    const struct {
        bool hasTime;
        double end;
        std::vector<const char *> texts;
    } rows[] = {
        {true,
         899,
         {"14:59.0", "900 and 3 of others", "0:00\n2:00\n4:00\n6:00\n8:00\n10:00\n12:00\n14:00\n"}},
        {true, 59.96, {"1:00.0", "0:55\n"}},
        {true, 0.3, {"00.3 s", "0:00.00\n0:00.05\n"}},
        {false, 0, {"no times", "Line\n", "\n100\n200\n300\n400\n500\n600\n700\n800\n900\n"}}};
    for (const auto &row : rows) {
        Session session = SessionOf("text", 900);
        session.foreignLines = 3;
        session.hasTime = row.hasTime;
        for (Line &line : session.lines)
            line.time = static_cast<double>(line.number - 1) * row.end / 899;
        const Page page = Parsed(PageOf(session));
        for (const char *text : row.texts)
            EXPECT_NE(page.text.find(text), std::string::npos) << text;
    }
}

TEST(Page, NamesWhatItLeavesOutAndKeepsFailures) {
    Session session = SessionOf("text", 60);
    session.lines[3].message = std::string(999, 'x') + "\u20ac and more";
    Fail(session, 50);  // of steps 48 to 50, which stay together
    const Page page = Parsed(PageOf(session, 30));
    ExpectWhole(page);
    EXPECT_EQ(page.ids.count("s50"), 1U);
    EXPECT_EQ(page.ids.count("s29"), 1U);
    EXPECT_EQ(page.ids.count("s30"), 0U);
    EXPECT_NE(page.text.find("27 steps without a failure, past the first 30 lines"),
              std::string::npos);
    EXPECT_NE(page.text.find("xx \u2026 and 12 bytes more in the log"), std::string::npos);
}

TEST(Page, TakesAnyTimes) {
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<std::optional<double>> times = {std::nullopt, 5.0,   3.0, std::nan(""),
                                                      -infinity,    1e300, 7.0, infinity};
    for (const bool hasTime : {true, false}) {
        Session session = SessionOf("text", times.size());
        session.hasTime = hasTime;
        for (std::size_t i = 0; i < times.size(); ++i)
            session.lines[i].time = times[i];
        for (Stretch &stretch : session.stretches)
            stretch.label = "1e999x";
        ExpectWhole(Parsed(PageOf(session)));
    }
    ExpectWhole(Parsed(PageOf(Session())));
}

}  // namespace
}  // namespace tool::log
