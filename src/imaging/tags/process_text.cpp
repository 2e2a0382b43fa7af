// Expansion goes group by group, in a fixed order, each group over the result of the one
// before, so a value that brings a later group's tag (a timezone.txt text holding "<TIME>")
// is expanded too; within a group each tag is replaced where it stands and values are not
// looked into again. A group whose prefix does not occur is not scanned at all, and a text
// without "<" is only copied.

#include "imaging/tags/process_text.h"

#include "base/text.h"
#include "imaging/tags/tag_table.h"

#include <cstring>

namespace tess {

namespace {

bool ContainsIgnoreCase(std::string_view text, std::string_view prefix) {
    for (std::size_t at = text.find(prefix[0]); at != std::string_view::npos;
         at = text.find(prefix[0], at + 1)) {
        if (EqualsIgnoreCase(text.substr(at, prefix.size()), prefix)) return true;
    }
    return false;
}

// "<MotionDetectTime3>" is the Motion tag "<MotionDetectTime" for feed 3.
bool MatchNumbered(std::string_view candidate, const TagDef& tag, int& feed) {
    if (candidate.size() != tag.name.size() + 2 || !candidate.starts_with(tag.name)) return false;
    const char digit = candidate[tag.name.size()];
    if (digit < '0' || digit >= '0' + kMotionFeeds) return false;
    feed = digit - '0';
    return true;
}

const TagDef* Find(const TagGroup& group, std::string_view candidate, int& feed) {
    for (const TagDef& tag : group.tags) {
        if (tag.kind == TagKind::Motion) {
            if (MatchNumbered(candidate, tag, feed)) return &tag;
        } else if (candidate == tag.name) {
            return &tag;
        }
    }
    return nullptr;
}

// Replaces the group's tags in `text` into `out`; false (and `out` unused) when none was.
bool ExpandGroup(const std::string& text, const TagGroup& group, const TagContext& context,
                 std::string& out) {
    std::size_t copied = 0;
    std::string value;
    bool any = false;
    for (std::size_t open = text.find('<'); open != std::string::npos;) {
        const std::size_t close = text.find('>', open + 1);
        if (close == std::string::npos) break;
        int feed = 0;
        const TagDef* tag =
            Find(group, std::string_view(text).substr(open, close - open + 1), feed);
        if (!tag || !TagValue(*tag, feed, context, value)) {
            open = text.find('<', open + 1);
            continue;
        }
        if (!any) {
            out.clear();
            out.reserve(text.size() + 32);
            any = true;
        }
        out.append(text, copied, open - copied);
        out += value;
        copied = close + 1;
        open = text.find('<', copied);
    }
    if (any) out.append(text, copied, std::string::npos);
    return any;
}

} // namespace

std::string ProcessText(std::string_view text, const TagContext& context) {
    if (text.find('<') == std::string_view::npos) return std::string(text);
    std::string current(text), next;
    for (const TagGroup& group : TagGroups()) {
        if (!ContainsIgnoreCase(current, group.prefix)) continue;
        if (ExpandGroup(current, group, context, next)) current.swap(next);
    }
    return current;
}

} // namespace tess
