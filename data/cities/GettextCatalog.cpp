#include "GettextCatalog.h"

#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tarvo::data {

namespace {

constexpr uint32_t kMagic = 0x950412de;

class Reader {
public:
    Reader(std::string bytes, const std::filesystem::path& file) : bytes_(std::move(bytes)), file_(file) {
        const uint32_t magic = word(0);
        if (magic == kMagic) {
            swapped_ = false;
        } else if (magic == swap(kMagic)) {
            swapped_ = true;
        } else {
            fail("not a gettext catalogue");
        }
    }

    uint32_t word(size_t offset) const {
        if (offset + 4 > bytes_.size()) fail("truncated");
        uint32_t value = 0;
        for (int i = 3; i >= 0; --i)
            value = (value << 8) | static_cast<unsigned char>(bytes_[offset + static_cast<size_t>(i)]);
        return swapped_ ? swap(value) : value;
    }

    // The string of entry `index` of the table at `table` (up to its first NUL, which ends
    // the singular of a plural message).
    std::string entry(uint32_t table, uint32_t index) const {
        const size_t at = size_t{table} + size_t{index} * 8;
        const size_t length = word(at);
        const size_t offset = word(at + 4);
        if (offset > bytes_.size() || length > bytes_.size() - offset) fail("a string lies outside the file");
        std::string text = bytes_.substr(offset, length);
        if (const size_t nul = text.find('\0'); nul != std::string::npos) text.resize(nul);
        return text;
    }

    [[noreturn]] void fail(const std::string& why) const { throw std::runtime_error(file_.string() + ": " + why); }

private:
    static uint32_t swap(uint32_t v) { return (v >> 24) | ((v >> 8) & 0xff00) | ((v << 8) & 0xff0000) | (v << 24); }

    std::string bytes_;
    std::filesystem::path file_;
    bool swapped_ = false;
};

}  // namespace

std::vector<std::pair<std::string, std::string>> GettextCatalog::read(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error(file.string() + ": cannot be read");
    std::ostringstream bytes;
    bytes << in.rdbuf();
    const Reader reader(std::move(bytes).str(), file);
    const uint32_t count = reader.word(8);
    const uint32_t originals = reader.word(12);
    const uint32_t translations = reader.word(16);
    std::vector<std::pair<std::string, std::string>> messages;
    for (uint32_t i = 0; i < count; ++i) {
        std::string original = reader.entry(originals, i);
        if (original.empty()) continue;  // the header
        messages.emplace_back(std::move(original), reader.entry(translations, i));
    }
    return messages;
}

}  // namespace tarvo::data
