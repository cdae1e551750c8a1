// What the changes made by scripts/mutate call. One change at most is awake: that whose number stands in
// KYR_MUTANT. With KYR_MUTANTS_REACHED, the numbers of all changes that were reached are appended to the file
// of that name.

#pragma once

#ifdef __cplusplus

#include <cstdio>
#include <cstdlib>
#include <type_traits>
#include <vector>

namespace mutant
{

struct Reached {
    std::vector<bool> numbers = std::vector<bool>(100000, false);
    const char* const file = std::getenv("KYR_MUTANTS_REACHED");
    ~Reached()
    {
        std::FILE* const out = file ? std::fopen(file, "a") : nullptr;
        for (std::size_t number = 0; out && number < numbers.size(); ++number) {
            if (numbers[number])
                std::fprintf(out, "%zu\n", number);
        }
        if (out)
            std::fclose(out);
    }
};

inline bool is(int number)
{
    static const int awake = std::getenv("KYR_MUTANT") ? std::atoi(std::getenv("KYR_MUTANT")) : 0;
    static Reached* const reached = [] {
        static Reached instance;
        return instance.file ? &instance : nullptr;
    }();
    if (reached)
        reached->numbers[static_cast<std::size_t>(number)] = true;
    return number == awake;
}

// "left < change > right" and the like: the change stands between two operators of one precedence.
struct Compare {
    int number;
};
struct Add {
    int number;
};

template <typename L>
struct Left {
    const L& value;
    int number;
};

template <typename L>
Left<L> operator<(const L& left, Compare change)
{
    return {left, change.number};
}
template <typename L>
Left<L> operator<=(const L& left, Compare change)
{
    return {left, change.number};
}
template <typename L>
Left<L> operator>(const L& left, Compare change)
{
    return {left, change.number};
}
template <typename L>
Left<L> operator>=(const L& left, Compare change)
{
    return {left, change.number};
}
template <typename L>
Left<L> operator==(const L& left, Compare change)
{
    return {left, change.number};
}
template <typename L>
Left<L> operator!=(const L& left, Compare change)
{
    return {left, change.number};
}
template <typename L>
Left<L> operator+(const L& left, Add change)
{
    return {left, change.number};
}
template <typename L>
Left<L> operator-(const L& left, Add change)
{
    return {left, change.number};
}

template <typename L, typename R>
bool operator<(Left<L> left, const R& right)
{
    return is(left.number) ? left.value <= right : left.value < right;
}
template <typename L, typename R>
bool operator<=(Left<L> left, const R& right)
{
    return is(left.number) ? left.value < right : left.value <= right;
}
template <typename L, typename R>
bool operator>(Left<L> left, const R& right)
{
    return is(left.number) ? left.value >= right : left.value > right;
}
template <typename L, typename R>
bool operator>=(Left<L> left, const R& right)
{
    return is(left.number) ? left.value > right : left.value >= right;
}
template <typename L, typename R>
bool operator==(Left<L> left, const R& right)
{
    return is(left.number) ? !(left.value == right) : left.value == right;
}
template <typename L, typename R>
bool operator!=(Left<L> left, const R& right)
{
    return is(left.number) ? !(left.value != right) : left.value != right;
}
template <typename L, typename R>
auto operator+(Left<L> left, const R& right) -> decltype(left.value - right, left.value + right)
{
    return is(left.number) ? left.value - right : left.value + right;
}
template <typename L, typename R>
auto operator-(Left<L> left, const R& right) -> decltype(left.value + right, left.value - right)
{
    return is(left.number) ? left.value + right : left.value - right;
}

} // namespace mutant

#endif
