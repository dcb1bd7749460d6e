#include "log/Folding.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace tool::log {

namespace {

constexpr char kTo[] = " … ";

/// Two services that are asked for their positions in turn make a pattern of two episodes.
constexpr std::size_t kLongestPattern = 3;

bool IsMeasured(const std::string &name) {
    return name == "position" || name == "duration";
}

bool IsRepeat(const Step &first, const Step &next) {
    const bool isSame = first.kind == next.kind && first.side == next.side &&
                        first.title == next.title && first.outcome == next.outcome &&
                        first.isFailure == next.isFailure && first.depth == next.depth &&
                        first.text == next.text && first.isCut == next.isCut &&
                        first.values.size() == next.values.size();
    if (!isSame || first.kind == StepKind::Unknown)
        return false;
    return std::equal(first.values.begin(), first.values.end(), next.values.begin(),
                      [](const Value &left, const Value &right) {
                          return left.first == right.first &&
                                 (left.second == right.second || IsMeasured(left.first));
                      });
}

bool IsRepeat(const Episode &first, const Episode &next) {
    return first.size() == next.size() &&
           std::equal(first.begin(), first.end(), next.begin(),
                      [](const ToldStep &left, const ToldStep &right) {
                          return left.step.count == right.step.count &&
                                 IsRepeat(left.step, right.step);
                      });
}

void Join(ToldStep &first, ToldStep &next) {
    first.lines.insert(first.lines.end(), next.lines.begin(), next.lines.end());
    for (std::size_t i = 0; i < first.step.values.size(); ++i) {
        std::string &value = first.step.values[i].second;
        const std::string &last = next.step.values[i].second;
        value.erase(std::min(value.find(kTo), value.size()));
        if (value != last)
            value.append(kTo).append(last);
    }
}

/// Folds the steps of one episode that say the same thing one after the other.
void FoldSteps(Episode &episode) {
    Episode folded;
    for (ToldStep &told : episode) {
        // A step with others below it is more than its own lines say.
        const bool isRepeat = folded.size() > 1 && !told.lines.empty() &&
                              told.step.kind == StepKind::PlatformCall &&
                              IsRepeat(folded.back().step, told.step);
        if (!isRepeat) {
            folded.push_back(std::move(told));
            continue;
        }
        Join(folded.back(), told);
        ++folded.back().step.count;
    }
    episode = std::move(folded);
}

bool IsPatternRepeated(const std::vector<Episode> &folded, std::size_t length,
                       const std::vector<Episode> &episodes, std::size_t at,
                       const std::vector<std::size_t> &counts) {
    if (folded.size() < length || episodes.size() - at < length)
        return false;
    const std::size_t begin = folded.size() - length;
    for (std::size_t i = 0; i < length; ++i)
        if (counts[begin + i] != counts[begin] || !IsRepeat(folded[begin + i], episodes[at + i]))
            return false;
    return true;
}

}  // namespace

void Fold(std::vector<Episode> &episodes) {
    std::vector<Episode> folded;
    std::vector<std::size_t> counts;  // of each folded episode
    for (Episode &episode : episodes)
        FoldSteps(episode);
    for (std::size_t at = 0; at < episodes.size();) {
        std::size_t length = 1;
        while (length <= kLongestPattern &&
               !IsPatternRepeated(folded, length, episodes, at, counts))
            ++length;
        if (length > kLongestPattern) {
            folded.push_back(std::move(episodes[at++]));
            counts.push_back(1);
            continue;
        }
        for (std::size_t i = 0; i < length; ++i, ++at) {
            Episode &first = folded[folded.size() - length + i];
            for (std::size_t step = 0; step < first.size(); ++step)
                Join(first[step], episodes[at][step]);
            ++counts[folded.size() - length + i];
        }
    }
    for (std::size_t i = 0; i < folded.size(); ++i)
        for (ToldStep &told : folded[i])
            told.step.count *= counts[i];
    episodes = std::move(folded);
}

}  // namespace tool::log
