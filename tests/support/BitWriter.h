// Writes bit fields, most significant bit first, one by one or from a text.
#ifndef QUORV_TESTS_SUPPORT_BITWRITER_H
#define QUORV_TESTS_SUPPORT_BITWRITER_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace quorv::test {

class BitWriter {
public:
    void put(uint32_t value, int bits) {
        while (bits-- > 0)
            put_bit(value >> bits & 1);
    }
    void marker() { put_bit(1); }
    // Exponential-Golomb codes: n zero bits, then value + 1 in n + 1 bits.
    void ue(uint32_t value) {
        const uint64_t code = uint64_t{value} + 1;
        const int length = static_cast<int>(std::bit_width(code));
        put(0, length - 1);
        for (int bit = length; bit-- > 0;)
            put_bit(code >> bit & 1);
    }
    void se(int32_t value) {
        ue(value > 0 ? static_cast<uint32_t>(value) * 2 - 1 : (0 - static_cast<uint32_t>(value)) * 2);
    }
    // A byte that was begun is filled with zero bits.
    const std::vector<uint8_t> &data() const { return data_; }
    size_t bit_count() const { return data_.size() * 8 - static_cast<size_t>(room_); }

private:
    void put_bit(uint64_t bit) {
        if (room_ == 0) {
            data_.push_back(0);
            room_ = 8;
        }
        --room_;
        data_.back() = static_cast<uint8_t>(data_.back() | bit << room_);
    }

    std::vector<uint8_t> data_;
    int room_ = 0;
};

// Fields as words of a text: "8:0x67" is a value in 8 bits, "u5" and "s-5" are Exponential-Golomb codes. Each
// may have a name and a "=" in front; a name alone stands for no bits.
inline std::vector<uint8_t> bits(const std::string &fields) {
    BitWriter out;
    std::istringstream words(fields);
    for (std::string word; words >> word;) {
        word.erase(0, word.find('=') + 1);
        const size_t colon = word.find(':');
        if (colon != word.npos)
            out.put(static_cast<uint32_t>(std::stoul(word.substr(colon + 1), nullptr, 0)), std::stoi(word));
        else if (word[0] == 'u')
            out.ue(static_cast<uint32_t>(std::stoul(word.substr(1))));
        else if (word[0] == 's')
            out.se(std::stoi(word.substr(1)));
    }
    return out.data();
}

}  // namespace quorv::test

#endif
