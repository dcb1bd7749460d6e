/// @file
/// The variable arguments of tv_recorder_set_property and tv_stream_set_property.
#ifndef TVDESKTOP_SYSTEM_PROPERTYARGUMENTS_H
#define TVDESKTOP_SYSTEM_PROPERTYARGUMENTS_H

#include <tv_recorder.h>
#include <TVTypes.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <iterator>
#include <limits>
#include <type_traits>
#include <variant>

namespace tvdesktop {

/// A property that a Target has: its id and what takes its value. The type of the setter's `value`
/// is the one in which the value is passed; a setter that answers false refuses the whole list.
template <typename Target>
struct PropertyRule {
    template <typename Value>
    using Setter = bool (*)(Target &target, int id, Value value);

    int id;
    std::variant<Setter<int>, Setter<const char *>, Setter<const TvChannelInfo *>,
                 Setter<const TvRecorderSwap *>>
        set;
};

/// (id, value) pairs up to a closing 0. The id alone decides the type of its value, so that nothing
/// after an unknown id can be read.
///
/// Threads: thread-bound.
class PropertyArguments {
  public:
    /// @param id      first id
    /// @param values  what follows it
    PropertyArguments(int id, std::va_list values) : m_id(id) { va_copy(m_values, values); }
    ~PropertyArguments() { va_end(m_values); }
    PropertyArguments(const PropertyArguments &) = delete;
    PropertyArguments &operator=(const PropertyArguments &) = delete;

    /// Hands the values to their setters in the order of the list.
    /// @param mostPairs  a list without its closing 0 is noticed after so many
    /// @return           false when an id is unknown, a pointer null, a setter refused its value,
    /// or
    ///                   the list is too long; a part of the list has then reached the target
    template <typename Target, std::size_t count>
    bool ReadInto(Target &target, const PropertyRule<Target> (&rules)[count],
                  std::size_t mostPairs = std::numeric_limits<std::size_t>::max()) {
        for (std::size_t pairs = 0; m_id != 0; m_id = Next<int>(), ++pairs) {
            const auto *rule = std::find_if(std::begin(rules), std::end(rules),
                                            [this](const auto &row) { return row.id == m_id; });
            if (rule == std::end(rules) || pairs == mostPairs)
                return false;
            if (!std::visit([&](auto set) { return Take(target, set); }, rule->set))
                return false;
        }
        return true;
    }

  private:
    template <typename Value>
    Value Next() {
        // The analyzer does not see that the constructor has copied the list.
        return va_arg(m_values, Value);  // NOLINT(clang-analyzer-valist.Uninitialized)
    }

    template <typename Target, typename Value>
    bool Take(Target &target, bool (*set)(Target &, int, Value)) {
        const auto value = Next<Value>();
        if constexpr (std::is_pointer_v<Value>) {
            if (value == nullptr)
                return false;
        }
        return set(target, m_id, value);
    }

    int m_id;
    std::va_list m_values;
};

}  // namespace tvdesktop

#endif
