#include "sha1.h"

#include "hexadecimal.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace opcua_cli {
namespace {

using State = std::array<std::uint32_t, 5>;

constexpr std::size_t blockSize = 64;

std::uint32_t rotated(std::uint32_t word, unsigned count) {
    return word << count | word >> (32U - count);
}

std::array<std::uint32_t, 80> schedule(std::string_view block) {
    std::array<std::uint32_t, 80> words{};
    for (std::size_t i = 0; i < blockSize; ++i)
        words[i / 4] = words[i / 4] << 8U | static_cast<unsigned char>(block[i]);
    for (std::size_t i = 16; i < words.size(); ++i)
        words[i] = rotated(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
    return words;
}

std::uint32_t mixed(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    switch (round / 20) {
    case 0:
        return ((b & c) | (~b & d)) + 0x5A827999U;
    case 1:
        return (b ^ c ^ d) + 0x6ED9EBA1U;
    case 2:
        return ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDCU;
    default:
        return (b ^ c ^ d) + 0xCA62C1D6U;
    }
}

void digestBlock(State& state, std::string_view block) {
    const auto words = schedule(block);
    auto [a, b, c, d, e] = state;
    for (std::size_t round = 0; round < words.size(); ++round) {
        const std::uint32_t next = rotated(a, 5) + mixed(round, b, c, d) + e + words[round];
        e = d;
        d = c;
        c = rotated(b, 30);
        b = a;
        a = next;
    }
    const State change{a, b, c, d, e};
    for (std::size_t i = 0; i < state.size(); ++i)
        state[i] += change[i];
}

/// The message with its end mark and its length in bits.
std::string padded(std::string_view bytes) {
    std::string text(bytes);
    text += '\x80';
    while (text.size() % blockSize != blockSize - 8)
        text += '\0';
    const std::uint64_t bits = std::uint64_t{bytes.size()} * 8;
    for (int shift = 56; shift >= 0; shift -= 8)
        text += static_cast<char>(bits >> static_cast<unsigned>(shift));
    return text;
}

} // namespace

std::string sha1(std::string_view bytes) {
    State state{0x67452301U, 0xEFCDAB89U, 0x98BADCFEU, 0x10325476U, 0xC3D2E1F0U};
    const std::string text = padded(bytes);
    for (std::size_t start = 0; start < text.size(); start += blockSize)
        digestBlock(state, std::string_view(text).substr(start, blockSize));
    std::string digest;
    for (const std::uint32_t word : state) {
        for (const unsigned shift : {24U, 16U, 8U, 0U})
            digest += static_cast<char>(word >> shift);
    }
    return hexadecimal(digest);
}

} // namespace opcua_cli
