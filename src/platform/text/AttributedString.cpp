#include "tarvo/platform/AttributedString.h"

#include <algorithm>
#include <set>

namespace tarvo {

void AttributedString::add(size_t location, size_t length, Attributes attributes) {
    const size_t begin = std::min(location, text_.size());
    const size_t end = std::min(text_.size(), begin + std::min(length, text_.size() - begin));
    if (begin < end) spans_.push_back({begin, end, std::move(attributes)});
}

void AttributedString::addFont(const Font& font, size_t location, size_t length) {
    Attributes a;
    a.font = font;
    add(location, length, std::move(a));
}

void AttributedString::addForegroundColor(const Color& color, size_t location, size_t length) {
    Attributes a;
    a.foregroundColor = color;
    add(location, length, std::move(a));
}

void AttributedString::addParagraphStyle(const ParagraphStyle& style, size_t location, size_t length) {
    Attributes a;
    a.paragraphStyle = style;
    add(location, length, std::move(a));
}

AttributedString::Attributes AttributedString::attributesAtIndex(size_t index) const {
    Attributes result;
    for (const Span& span : spans_) {
        if (index < span.begin || index >= span.end) continue;
        if (span.attributes.font) result.font = span.attributes.font;
        if (span.attributes.foregroundColor) result.foregroundColor = span.attributes.foregroundColor;
        if (span.attributes.paragraphStyle) result.paragraphStyle = span.attributes.paragraphStyle;
    }
    return result;
}

std::vector<AttributedString::Run> AttributedString::runs() const {
    std::set<size_t> cuts{0, text_.size()};
    for (const Span& span : spans_) {
        cuts.insert(span.begin);
        cuts.insert(span.end);
    }
    std::vector<Run> runs;
    for (auto it = cuts.begin(); it != cuts.end() && std::next(it) != cuts.end(); ++it) {
        const size_t begin = *it;
        const size_t end = *std::next(it);
        Attributes attributes = attributesAtIndex(begin);
        if (!runs.empty() && runs.back().attributes == attributes) {
            runs.back().length += end - begin;
        } else {
            runs.push_back({begin, end - begin, std::move(attributes)});
        }
    }
    return runs;
}

}  // namespace tarvo
