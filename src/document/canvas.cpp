#include "document/canvas.h"

#include "base/error.h"

namespace tess {

namespace {

template <typename Table>
void CheckFreeIndex(const Table& table, int index) {
    if (index < 1 || index >= static_cast<int>(table.items.size()) || table.items[index])
        throw TessError(ErrorNumber::SubscriptOutOfRange, "Subscript out of range");
}

template <typename Item, typename Table>
Item* Find(Table& table, int index) {
    if (index < 1 || index >= static_cast<int>(table.items.size())) return nullptr;
    return table.items[index].get();
}

template <typename Item, typename Table>
Item& Add(Table& table, int index, SunTimes& sun) {
    CheckFreeIndex(table, index);
    auto& item = table.items[index];
    item = std::make_unique<Item>(sun);
    table.removed[index] = false;
    return *item;
}

} // namespace

// An item's schedule reports to its canvas: the window opening or closing redraws it.
void Canvas::WireItem(CanvasItem& item) {
    item.Schedule().SetCanvasIndex(canvas_value_);
    item.Schedule().SetRedrawCallback([this](std::int32_t) { ForceRedraw(); });
}

template <typename Table>
void Canvas::RemoveItem(Table& table, int index) {
    if (index < 1 || index >= static_cast<int>(table.items.size()) || !table.items[index]) return;
    NoteHidden(*table.items[index]);
    table.items[index].reset();
    table.removed[index] = true;
}

Canvas::Canvas(std::int32_t canvas_value, SunTimes& sun)
    : canvas_value_(canvas_value), sun_(&sun), fixed_schedule_(sun), sequential_schedule_(sun),
      background_schedule_(sun), ftp_push_(sun), web_server_(sun),
      video_streaming_(ftp_push_, web_server_) {
    for (Schedule* s : {&fixed_schedule_, &sequential_schedule_, &background_schedule_})
        s->SetCanvasIndex(canvas_value);
    ftp_push_.SetCanvasIndex(canvas_value);
    web_server_.SetCanvasIndex(canvas_value);
    web_server_.SetPictureSource([this]() -> const DIB& { return ComposedDIB(); });
    video_streaming_.SetCanvasIndex(canvas_value);
    for (Schedule* s : {&fixed_schedule_, &sequential_schedule_, &background_schedule_})
        s->SetRedrawCallback([this](std::int32_t) { ForceRedraw(); });
}

Canvas::~Canvas() = default;

void Canvas::SetWidthHeight(std::int32_t width, std::int32_t height) {
    Limit(width, 1, kMaxDimension);
    Limit(height, 1, kMaxDimension);
    MarkAndRedraw(StoreIfChanged(width_, width));
    MarkAndRedraw(StoreIfChanged(height_, height));
}

TextItem* Canvas::Text(int index) {
    return Find<TextItem>(texts_, index);
}

GraphicItem* Canvas::Graphic(int index) {
    return Find<GraphicItem>(graphics_, index);
}

TextItem& Canvas::AddText(int index) {
    TextItem& item = Add<TextItem>(texts_, index, *sun_);
    WireItem(item);
    need_saving_ = true;
    return item;
}

GraphicItem& Canvas::AddGraphic(int index) {
    GraphicItem& item = Add<GraphicItem>(graphics_, index, *sun_);
    WireItem(item);
    need_saving_ = true;
    return item;
}

void Canvas::RemoveText(int index) {
    RemoveItem(texts_, index);
    need_saving_ = true;
}

void Canvas::RemoveGraphic(int index) {
    RemoveItem(graphics_, index);
    need_saving_ = true;
}

double Canvas::NextDue(double limit) const {
    double next = limit;
    auto take = [&next](double time) { next = std::min(next, time); };
    for (const auto& item : texts_.items)
        if (item && item->Visible()) take(item->NextTime());
    for (const auto& item : graphics_.items)
        if (item && item->Visible()) take(item->NextTime());
    if (fixed_enabled_) take(fixed_next_frame_);
    if (sequential_enabled_) take(sequential_next_frame_);
    if (background_enabled_) take(background_next_frame_);
    if (ftp_push_.Enabled()) take(ftp_push_.NextUploadTime());
    return next;
}

bool Canvas::NeedSaving() const {
    if (need_saving_ || fixed_schedule_.NeedsSaving() || sequential_schedule_.NeedsSaving() ||
        background_schedule_.NeedsSaving() || ftp_push_.NeedsSaving() ||
        web_server_.NeedsSaving()) {
        return true;
    }
    auto any = [](const auto& items) {
        return std::any_of(items.begin(), items.end(),
                           [](const auto& item) { return item && item->NeedsSaving(); });
    };
    return any(texts_.items) || any(graphics_.items);
}

void Canvas::SetNeedSaving(bool value) {
    need_saving_ = value;
    if (value) return;
    for (Schedule* s : {&fixed_schedule_, &sequential_schedule_, &background_schedule_})
        s->SetNeedsSaving(false);
    ftp_push_.SetNeedsSaving(false);
    web_server_.SetNeedsSaving(false);
    for (auto& item : texts_.items)
        if (item) item->SetNeedsSaving(false);
    for (auto& item : graphics_.items)
        if (item) item->SetNeedsSaving(false);
}

} // namespace tess
