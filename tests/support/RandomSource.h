#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace Zovi::Test
{

/// Pseudo-random numbers for randomised tests. The seed is printed; it is the same in every run unless the
/// environment variable ZOVI_TEST_SEED names another.
class RandomSource
{
public:
    RandomSource()
        : m_seed(seedFromEnvironment())
        , m_engine(m_seed)
    {
        std::cout << "ZOVI_TEST_SEED=" << m_seed << std::endl;
    }

    /// For failure messages.
    std::uint32_t seed() const { return m_seed; }

    /// A number from 0 to `bound` - 1.
    std::size_t below(std::size_t bound)
    {
        return std::uniform_int_distribution<std::size_t>(0, bound - 1)(m_engine);
    }

    /// True once in `n` times.
    bool oneIn(std::size_t n) { return below(n) == 0; }

    /// Any byte, zero included.
    char byte() { return static_cast<char>(static_cast<unsigned char>(below(256))); }

    /// One of the characters of `characters`.
    char oneOf(const std::string& characters) { return characters[below(characters.size())]; }

    /// One of the elements of `choices`.
    template <typename Container>
    const typename Container::value_type& pick(const Container& choices)
    {
        return choices[below(choices.size())];
    }

private:
    static std::uint32_t seedFromEnvironment()
    {
        const char* text = std::getenv("ZOVI_TEST_SEED");
        return text ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10)) : 20240229U;
    }

    std::uint32_t m_seed;
    std::mt19937 m_engine;
};

} // namespace Zovi::Test
