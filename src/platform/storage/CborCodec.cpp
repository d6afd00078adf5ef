#include "platform/storage/CborCodec.h"

#include <exception>

namespace tarvo {

namespace {

using json = nlohmann::json;

// The library's own tree builder behind a guard: refuses nesting beyond the limit and
// containers that announce more entries than there are bytes left, before anything is
// built or allocated for them.
class GuardedBuilder {
public:
    GuardedBuilder(json& result, size_t inputSize) : dom_(result, false), inputSize_(inputSize) {}

    bool null() { return dom_.null(); }
    bool boolean(bool value) { return dom_.boolean(value); }
    bool number_integer(json::number_integer_t value) { return dom_.number_integer(value); }
    bool number_unsigned(json::number_unsigned_t value) { return dom_.number_unsigned(value); }
    bool number_float(json::number_float_t value, const json::string_t& text) { return dom_.number_float(value, text); }
    bool string(json::string_t& value) { return dom_.string(value); }
    bool binary(json::binary_t& value) { return dom_.binary(value); }
    bool key(json::string_t& value) { return dom_.key(value); }

    bool start_object(size_t entries) { return enter(entries, 2) && dom_.start_object(entries); }
    bool end_object() {
        --depth_;
        return dom_.end_object();
    }
    bool start_array(size_t entries) { return enter(entries, 1) && dom_.start_array(entries); }
    bool end_array() {
        --depth_;
        return dom_.end_array();
    }

    bool parse_error(size_t position, const std::string& token, const nlohmann::detail::exception& ex) {
        if (error_.empty()) error_ = ex.what();
        return dom_.parse_error(position, token, ex);
    }

    const std::string& error() const { return error_; }

private:
    // Every entry takes at least `bytesPerEntry` bytes of input.
    bool enter(size_t entries, size_t bytesPerEntry) {
        if (++depth_ > CborCodec::kMaxDepth) {
            error_ = "nested too deeply";
            return false;
        }
        if (entries != static_cast<size_t>(-1) && entries > inputSize_ / bytesPerEntry) {
            error_ = "a container announces more entries than there are bytes";
            return false;
        }
        return true;
    }

    nlohmann::detail::json_sax_dom_parser<json> dom_;
    size_t inputSize_;
    size_t depth_ = 0;
    std::string error_;
};

}  // namespace

std::vector<uint8_t> CborCodec::encode(const nlohmann::json& value) { return json::to_cbor(value); }

Result<nlohmann::json> CborCodec::decode(const uint8_t* data, size_t size) {
    json result;
    GuardedBuilder builder(result, size);
    bool ok = false;
    try {
        ok = json::sax_parse(data, data + size, &builder, json::input_format_t::cbor, true);
    } catch (const std::exception& e) {
        return Error{e.what()};
    }
    if (!ok) {
        return Error{builder.error().empty() ? std::string("malformed CBOR") : builder.error()};
    }
    return result;
}

}  // namespace tarvo
