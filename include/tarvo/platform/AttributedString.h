#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/platform/Color.h"
#include "tarvo/platform/Font.h"

namespace tarvo {

/// Paragraph alignment, numbered as the platform numbers it.
enum class TextAlignment : int64_t { Left = 0, Center = 1, Right = 2, Justified = 3, Natural = 4 };

/// The paragraph settings a text carries; only the alignment is used by the library.
struct TARVO_EXPORT ParagraphStyle {
    int64_t alignment = static_cast<int64_t>(TextAlignment::Natural);

    /// The platform's default style (natural alignment).
    static ParagraphStyle defaultParagraphStyle() { return {}; }
    bool operator==(const ParagraphStyle&) const = default;
};

/// UTF-8 text with font, colour and paragraph style laid over byte ranges of it. A later
/// attribute replaces an earlier one of the same kind where their ranges overlap.
class TARVO_EXPORT AttributedString {
public:
    /// The attributes in force over a stretch of text (nothing: not set there).
    struct Attributes {
        std::optional<Font> font;
        std::optional<Color> foregroundColor;
        std::optional<ParagraphStyle> paragraphStyle;
        bool operator==(const Attributes&) const = default;
    };
    /// A maximal stretch [location, location + length) with the same attributes.
    struct Run {
        size_t location = 0;
        size_t length = 0;
        Attributes attributes;
        bool operator==(const Run&) const = default;
    };

    AttributedString() = default;
    explicit AttributedString(std::string text) : text_(std::move(text)) {}

    const std::string& string() const { return text_; }
    /// Length in bytes of the UTF-8 text.
    size_t length() const { return text_.size(); }

    /// Each applies over [location, location + length), clipped to the text.
    void addFont(const Font& font, size_t location, size_t length);
    void addForegroundColor(const Color& color, size_t location, size_t length);
    void addParagraphStyle(const ParagraphStyle& style, size_t location, size_t length);

    /// The attributes at a byte of the text (nothing set past the end).
    Attributes attributesAtIndex(size_t index) const;
    /// The text cut into maximal runs of equal attributes, in order, covering all of it.
    std::vector<Run> runs() const;

private:
    struct Span {
        size_t begin;
        size_t end;
        Attributes attributes;  // exactly one kind set
    };
    void add(size_t location, size_t length, Attributes attributes);

    std::string text_;
    std::vector<Span> spans_;
};

}  // namespace tarvo
