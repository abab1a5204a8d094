#include "src/support/base64.h"

#include <array>
#include <cstring>
#include <stdexcept>

namespace wsql {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kInvalid = 255;

constexpr std::array<std::uint8_t, 256> makeValues() {
    std::array<std::uint8_t, 256> values{};
    for (std::uint8_t& value : values) value = kInvalid;
    for (std::size_t i = 0; i < 64; ++i)
        values[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
    return values;
}
constexpr std::array<std::uint8_t, 256> kValues = makeValues();

}  // namespace

std::size_t base64Length(std::size_t size) {
    const std::size_t length = (size + 2) / 3 * 4;
    if (length + 2 > INT32_MAX) throw std::length_error("object too long for base64");
    return length;
}

void base64Write(std::string_view data, char* out) {
    const auto* in = reinterpret_cast<const unsigned char*>(data.data());
    std::size_t left = data.size();
    for (; left >= 3; left -= 3, in += 3, out += 4) {
        out[0] = kAlphabet[in[0] >> 2];
        out[1] = kAlphabet[(in[0] & 3) << 4 | in[1] >> 4];
        out[2] = kAlphabet[(in[1] & 15) << 2 | in[2] >> 6];
        out[3] = kAlphabet[in[2] & 63];
    }
    if (left == 0) return;
    const unsigned second = left == 2 ? in[1] : 0U;
    out[0] = kAlphabet[in[0] >> 2];
    out[1] = kAlphabet[(in[0] & 3U) << 4 | second >> 4];
    out[2] = left == 2 ? kAlphabet[(second & 15) << 2] : '=';
    out[3] = '=';
}

std::int32_t base64Encode(std::string_view data, platform::HeapText& result) {
    const std::size_t length = base64Length(data.size());
    result.reset(static_cast<char*>(platform::heapAllocate(length + 2)));
    base64Write(data, result.get());
    return static_cast<std::int32_t>(length);
}

void base64Append(std::string_view data, CStringBuffer& buffer) {
    constexpr std::size_t kPiece = 3072;  // a multiple of three, so that only the last piece is padded
    char text[kPiece / 3 * 4];
    while (!data.empty()) {
        const std::string_view piece = data.substr(0, kPiece);
        base64Write(piece, text);
        buffer.append(std::string_view(text, base64Length(piece.size())));
        data.remove_prefix(piece.size());
    }
}

std::int32_t base64Decode(std::string_view text, platform::HeapText& result) {
    text = text.substr(0, text.find('\0'));
    text = text.substr(0, text.find('='));
    platform::HeapText bytes(static_cast<char*>(platform::heapAllocate((text.size() / 4 + 1) * 3)));
    std::size_t count = 0;
    std::uint32_t group = 0;
    unsigned values = 0;
    for (const char c : text) {
        const std::uint8_t value = kValues[static_cast<unsigned char>(c)];
        if (value == kInvalid) continue;
        group = group << 6 | value;
        if (++values % 4 != 0) continue;
        bytes.get()[count++] = static_cast<char>(group >> 16);
        bytes.get()[count++] = static_cast<char>(group >> 8);
        bytes.get()[count++] = static_cast<char>(group);
        group = 0;
        values = 0;
    }
    if (values >= 2) bytes.get()[count++] = static_cast<char>(values == 2 ? group >> 4 : group >> 10);
    if (values == 3) bytes.get()[count++] = static_cast<char>(group >> 2);
    if (count > INT32_MAX) throw std::length_error("object too long");
    result = std::move(bytes);
    return static_cast<std::int32_t>(count);
}

}  // namespace wsql
