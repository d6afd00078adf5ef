#include "platform/storage/KeyedUnarchiver.h"

#include "platform/storage/ArchiveFormat.h"
#include "platform/storage/CborCodec.h"
#include "platform/host/LogMacros.h"
#include "platform/storage/PreferenceValue.h"

namespace tarvo {

namespace {

// Scalars are numbers of any kind, bools included; text and containers are not.
bool isScalar(const nlohmann::json& value) { return value.is_number() || value.is_boolean(); }

}  // namespace

KeyedUnarchiver::KeyedUnarchiver(std::string className, Value values)
    : className_(std::move(className)), values_(std::move(values)) {}

std::optional<KeyedUnarchiver> KeyedUnarchiver::forReadingFromData(const std::vector<uint8_t>& data,
                                                                   std::string_view expectedClass) {
    auto decoded = CborCodec::decode(data);
    if (!decoded) {
        TARVO_LOG_ERROR("Archive of {} bytes cannot be decoded: {}", data.size(), decoded.error().message);
        return std::nullopt;
    }
    auto contents = ArchiveFormat::unwrap(std::move(decoded).value());
    if (!contents) {
        TARVO_LOG_ERROR("Archive of {} bytes cannot be decoded: {}", data.size(), contents.error().message);
        return std::nullopt;
    }
    // Secure decoding: an archive of another class is refused as a whole.
    if (contents->className != expectedClass) {
        TARVO_LOG_ERROR("Archive holds a {}, not the expected {}", contents->className, expectedClass);
        return std::nullopt;
    }
    return KeyedUnarchiver(std::move(contents->className), std::move(contents->values));
}

bool KeyedUnarchiver::containsValueForKey(std::string_view key) const { return values_.contains(key); }

bool KeyedUnarchiver::decodeBool(std::string_view key) const {
    const auto it = values_.find(key);
    return it != values_.end() && isScalar(*it) && PreferenceValue::toBool(*it);
}

int64_t KeyedUnarchiver::decodeInteger(std::string_view key) const {
    const auto it = values_.find(key);
    return it != values_.end() && isScalar(*it) ? PreferenceValue::toInteger(*it) : 0;
}

double KeyedUnarchiver::decodeDouble(std::string_view key) const {
    const auto it = values_.find(key);
    return it != values_.end() && isScalar(*it) ? PreferenceValue::toDouble(*it) : 0.0;
}

std::optional<KeyedUnarchiver::Value> KeyedUnarchiver::decodeObject(std::string_view key) const {
    const auto it = values_.find(key);
    if (it == values_.end()) return std::nullopt;
    return *it;
}

std::optional<double> KeyedUnarchiver::decodeNumber(std::string_view key) const {
    const auto it = values_.find(key);
    if (it == values_.end()) return std::nullopt;
    if (!isScalar(*it)) {
        throw DecodingError(fmt::format("value for key '{}' is a {}, not a number", key, it->type_name()));
    }
    return PreferenceValue::toDouble(*it);
}

std::optional<std::string> KeyedUnarchiver::decodeString(std::string_view key) const {
    const auto it = values_.find(key);
    if (it == values_.end()) return std::nullopt;
    if (!it->is_string()) {
        throw DecodingError(fmt::format("value for key '{}' is a {}, not a string", key, it->type_name()));
    }
    return it->get<std::string>();
}

}  // namespace tarvo
