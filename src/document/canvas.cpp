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
Item& Add(Table& table, int index, SunTimes& sun, std::int32_t canvas_value) {
    CheckFreeIndex(table, index);
    auto& item = table.items[index];
    item = std::make_unique<Item>(sun);
    item->Schedule().SetCanvasIndex(canvas_value);
    table.removed[index] = false;
    return *item;
}

template <typename Table>
void Remove(Table& table, int index) {
    if (index < 1 || index >= static_cast<int>(table.items.size()) || !table.items[index]) return;
    table.items[index].reset();
    table.removed[index] = true;
}

} // namespace

Canvas::Canvas(std::int32_t canvas_value, SunTimes& sun)
    : canvas_value_(canvas_value), sun_(&sun), fixed_schedule_(sun), sequential_schedule_(sun),
      background_schedule_(sun), ftp_push_(sun), web_server_(sun) {
    for (Schedule* s : {&fixed_schedule_, &sequential_schedule_, &background_schedule_})
        s->SetCanvasIndex(canvas_value);
    ftp_push_.SetCanvasIndex(canvas_value);
    web_server_.SetCanvasIndex(canvas_value);
    web_server_.SetPictureSource([this]() -> const DIB& { return composed_; });
}

Canvas::~Canvas() = default;

void Canvas::SetWidthHeight(std::int32_t width, std::int32_t height) {
    Limit(width, 1, kMaxDimension);
    Limit(height, 1, kMaxDimension);
    Mark(StoreIfChanged(width_, width));
    Mark(StoreIfChanged(height_, height));
}

TextItem* Canvas::Text(int index) {
    return Find<TextItem>(texts_, index);
}

GraphicItem* Canvas::Graphic(int index) {
    return Find<GraphicItem>(graphics_, index);
}

TextItem& Canvas::AddText(int index) {
    TextItem& item = Add<TextItem>(texts_, index, *sun_, canvas_value_);
    need_saving_ = true;
    return item;
}

GraphicItem& Canvas::AddGraphic(int index) {
    GraphicItem& item = Add<GraphicItem>(graphics_, index, *sun_, canvas_value_);
    need_saving_ = true;
    return item;
}

void Canvas::RemoveText(int index) {
    Remove(texts_, index);
    need_saving_ = true;
}

void Canvas::RemoveGraphic(int index) {
    Remove(graphics_, index);
    need_saving_ = true;
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
