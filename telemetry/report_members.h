// The members of the statistics' structures, one by one in the order of their declaration.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace tandor {

// Stands for a member of any type.
struct AnyMember {
    template <class Type>
    operator Type() const;  // NOLINT(google-explicit-constructor)
};

template <class Structure, std::size_t... indexes>
consteval bool HasAtLeast(std::index_sequence<indexes...>) {
    return requires { Structure{(static_cast<void>(indexes), AnyMember{})...}; };
}

template <class Structure, std::size_t count>
concept HasMembers = HasAtLeast<Structure>(std::make_index_sequence<count>()) &&
    !HasAtLeast<Structure>(std::make_index_sequence<count + 1>());

// Calls `visit` with all members, which are const where the structure is. One with another number of members needs a
// line here.
template <class Structure, class Visit>
void WithMembers(Structure& data, Visit visit) {
    using Plain = std::remove_const_t<Structure>;
    if constexpr (HasMembers<Plain, 4>) {
        auto& [a, b, c, d] = data;
        visit(a, b, c, d);
    } else if constexpr (HasMembers<Plain, 5>) {
        auto& [a, b, c, d, e] = data;
        visit(a, b, c, d, e);
    } else {
        auto& [a, b, c, d, e, f] = data;
        visit(a, b, c, d, e, f);
    }
}

template <class Type>
concept ReportStructure = std::is_aggregate_v<Type> && !std::is_array_v<Type>;

}  // namespace tandor
