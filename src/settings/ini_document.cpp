#include "settings/ini_document.h"

#include "base/text.h"

#include <algorithm>

namespace tess {

namespace {

std::string_view EolText(int eol) {
    return eol == 2 ? "\r\n" : eol == 1 ? "\n" : "";
}

// The section name of a header line, or nothing when the line is not one.
std::optional<std::string_view> HeaderName(std::string_view text) {
    text = Trim(text);
    if (text.empty() || text.front() != '[') return std::nullopt;
    std::size_t close = text.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    return Trim(text.substr(1, close - 1));
}

std::string_view ValueOf(std::string_view text) {
    text = Trim(text);
    if (text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
        text.back() == text.front()) {
        text = text.substr(1, text.size() - 2);
    }
    if (std::size_t nul = text.find('\0'); nul != std::string_view::npos)
        text = text.substr(0, nul);
    if (text.size() > IniDocument::kMaxValueLength)
        text = text.substr(0, IniDocument::kMaxValueLength);
    return text;
}

bool Writable(std::string_view section, std::string_view key, std::string_view value) {
    auto has = [](std::string_view text, std::string_view chars) {
        return text.find_first_of(chars) != std::string_view::npos;
    };
    return !key.empty() && key.front() != '[' && !has(key, "=\r\n") && !has(section, "]\r\n") &&
           !has(value, "\r\n");
}

} // namespace

IniDocument::Line IniDocument::MakeLine(std::string_view text, Eol eol) {
    Line line{std::string(text), eol, 0, false};
    std::size_t eq = text.find('=');
    if (eq != std::string_view::npos && !Trim(text.substr(0, eq)).empty() && !HeaderName(text)) {
        line.is_key = true;
        line.key_length = static_cast<std::uint32_t>(eq);
    }
    return line;
}

std::string_view IniDocument::KeyName(const Line& line) {
    return Trim(std::string_view(line.text).substr(0, line.key_length));
}

void IniDocument::IndexKey(Section& section, std::size_t index) {
    if (section.lines[index].is_key) section.keys.Add(section.lines, index);
}

std::size_t IniDocument::KeyTable::Find(const std::vector<Line>& lines,
                                        std::string_view key) const {
    if (slots_.empty()) return kNone;
    const auto hash = static_cast<std::uint32_t>(NoCaseHash{}(key));
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot& slot = slots_[i];
        if (slot.line == 0) return kNone;
        if (slot.hash == hash && EqualsIgnoreCase(KeyName(lines[slot.line - 1]), key))
            return slot.line - 1;
    }
}

void IniDocument::KeyTable::Add(const std::vector<Line>& lines, std::size_t line) {
    if ((used_ + 1) * 2 > slots_.size()) Grow();
    const std::string_view key = KeyName(lines[line]);
    const auto hash = static_cast<std::uint32_t>(NoCaseHash{}(key));
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& slot = slots_[i];
        if (slot.line == 0) {
            slot = {hash, static_cast<std::uint32_t>(line + 1)};
            ++used_;
            return;
        }
        if (slot.hash == hash && EqualsIgnoreCase(KeyName(lines[slot.line - 1]), key)) return;
    }
}

void IniDocument::KeyTable::Grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(std::max<std::size_t>(16, old.size() * 2), Slot{});
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& slot : old) {
        if (slot.line == 0) continue;
        std::size_t i = slot.hash & mask;
        while (slots_[i].line != 0)
            i = (i + 1) & mask;
        slots_[i] = slot;
    }
}

void IniDocument::Clear() {
    sections_.clear();
    index_.clear();
    sections_.emplace_back();
    default_eol_ = Eol::CrLf;
    bom_ = false;
}

void IniDocument::Parse(std::string_view text) {
    Clear();
    const std::string_view body = SkipUtf8Bom(text);
    bom_ = body.size() != text.size();
    text = body;
    bool eol_known = false;
    while (!text.empty()) {
        std::size_t nl = text.find('\n');
        std::string_view raw = text.substr(0, nl);
        Eol eol = Eol::None;
        if (nl != std::string_view::npos) {
            eol = Eol::Lf;
            if (!raw.empty() && raw.back() == '\r') {
                raw.remove_suffix(1);
                eol = Eol::CrLf;
            }
            text.remove_prefix(nl + 1);
        } else {
            text = {};
        }
        if (!eol_known && eol != Eol::None) {
            default_eol_ = eol;
            eol_known = true;
        }
        if (auto name = HeaderName(raw)) {
            Section& s = sections_.emplace_back();
            s.header = Line{std::string(raw), eol, 0, false};
            index_.try_emplace(std::string(*name), sections_.size() - 1);
        } else {
            Section& s = sections_.back();
            s.lines.push_back(MakeLine(raw, eol));
            IndexKey(s, s.lines.size() - 1);
        }
    }
}

std::string IniDocument::Serialize() const {
    std::size_t size = 0;
    for (const Section& s : sections_) {
        size += s.header.text.size() + 2;
        for (const Line& l : s.lines)
            size += l.text.size() + 2;
    }
    std::string out;
    out.reserve(size + 3);
    if (bom_) out = "\xEF\xBB\xBF";
    for (const Section& s : sections_) {
        out += s.header.text;
        out += EolText(static_cast<int>(s.header.eol));
        for (const Line& l : s.lines) {
            out += l.text;
            out += EolText(static_cast<int>(l.eol));
        }
    }
    return out;
}

std::optional<std::string_view> IniDocument::Find(std::string_view section,
                                                  std::string_view key) const {
    auto s = index_.find(Trim(section));
    if (s == index_.end()) return std::nullopt;
    const Section& sec = sections_[s->second];
    const std::size_t k = sec.keys.Find(sec.lines, Trim(key));
    if (k == KeyTable::kNone) return std::nullopt;
    const Line& line = sec.lines[k];
    return ValueOf(std::string_view(line.text).substr(line.key_length + 1));
}

void IniDocument::ForEachKey(std::string_view section,
                             const std::function<void(std::string_view)>& visit) const {
    auto s = index_.find(Trim(section));
    if (s == index_.end()) return;
    for (const Line& line : sections_[s->second].lines) {
        if (line.is_key) visit(KeyName(line));
    }
}

// Gives the file's last line an ending before something is appended after it.
void IniDocument::EndLastLine() {
    for (auto s = sections_.rbegin(); s != sections_.rend(); ++s) {
        if (!s->lines.empty()) {
            if (s->lines.back().eol == Eol::None) s->lines.back().eol = default_eol_;
            return;
        }
        if (!s->header.text.empty() || s->header.eol != Eol::None) {
            if (s->header.eol == Eol::None) s->header.eol = default_eol_;
            return;
        }
    }
}

IniDocument::Section& IniDocument::AddSection(std::string_view name) {
    EndLastLine();
    Section& s = sections_.emplace_back();
    std::string header;
    header.reserve(name.size() + 2);
    header.append(1, '[').append(name).append(1, ']');
    s.header = Line{std::move(header), default_eol_, 0, false};
    index_.emplace(std::string(name), sections_.size() - 1);
    return s;
}

bool IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
    if (sections_.empty()) Clear();
    section = Trim(section);
    key = Trim(key);
    if (!Writable(section, key, value)) return false;
    auto found = index_.find(section);
    Section& s = found != index_.end() ? sections_[found->second] : AddSection(section);

    if (std::size_t k = s.keys.Find(s.lines, key); k != KeyTable::kNone) {
        Line& line = s.lines[k];
        std::string_view written = KeyName(line);
        std::string text = std::string(written) + "=" + std::string(value);
        if (text == line.text) return false;
        line.text = std::move(text);
        line.key_length = static_cast<std::uint32_t>(written.size());
        return true;
    }

    // New keys go after the section's last non-blank line, before the blank lines that
    // usually separate it from the next section.
    std::size_t at = s.lines.size();
    while (at > 0 && Trim(s.lines[at - 1].text).empty())
        --at;
    Line& before = at > 0 ? s.lines[at - 1] : s.header;
    if (before.eol == Eol::None) before.eol = default_eol_; // only the file's last line lacks one
    Line line = MakeLine(std::string(key) + "=" + std::string(value), default_eol_);
    s.lines.insert(s.lines.begin() + static_cast<std::ptrdiff_t>(at), std::move(line));
    IndexKey(s, at);
    return true;
}

bool IniDocument::RemoveSection(std::string_view section) {
    std::string name(Trim(section));
    auto found = index_.find(name);
    if (found == index_.end() || found->second == 0) return false;
    const std::size_t at = found->second;
    // The section stays in place as an empty entry, so the positions the index holds for the
    // other sections remain valid; it serialises to nothing.
    sections_[at] = Section{};
    index_.erase(found);
    for (std::size_t i = at + 1; i < sections_.size(); ++i) {
        auto header = HeaderName(sections_[i].header.text);
        if (header && EqualsIgnoreCase(*header, name)) {
            index_.emplace(name, i); // a later section of the same name now comes first
            break;
        }
    }
    return true;
}

} // namespace tess
