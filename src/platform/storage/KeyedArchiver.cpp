#include "platform/storage/KeyedArchiver.h"

#include "platform/storage/ArchiveFormat.h"
#include "platform/storage/CborCodec.h"

namespace tarvo {

KeyedArchiver::KeyedArchiver(std::string className) : className_(std::move(className)), values_(Value::object()) {}

void KeyedArchiver::encodeBool(bool value, std::string_view key) { values_[std::string(key)] = value; }

void KeyedArchiver::encodeInteger(int64_t value, std::string_view key) { values_[std::string(key)] = value; }

void KeyedArchiver::encodeDouble(double value, std::string_view key) { values_[std::string(key)] = value; }

void KeyedArchiver::encodeObject(const Value& value, std::string_view key) {
    // Encoding nothing leaves the key out, so that decoding finds no value for it.
    if (value.is_null()) {
        values_.erase(std::string(key));
    } else {
        values_[std::string(key)] = value;
    }
}

std::vector<uint8_t> KeyedArchiver::encodedData() const {
    return CborCodec::encode(ArchiveFormat::wrap(className_, values_));
}

}  // namespace tarvo
