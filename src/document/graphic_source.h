#pragma once

// Where a graphic item's picture comes from, brought up to date when the item is due: a
// picture file (read again only when it changed on disk), a URL (downloaded on the event
// loop; the last good picture stays until a new one arrives), a rectangle of the item's
// background colour, another canvas's composed picture or a video feed's latest frame (each
// copied only when it is a new one).

#include "base/file_stamp.h"
#include "document/composition_services.h"
#include "imaging/dib.h"
#include "imaging/source_type.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tess {

class GraphicItem;
class Image;

class GraphicSource {
public:
    GraphicSource();
    ~GraphicSource();
    GraphicSource(const GraphicSource&) = delete;
    GraphicSource& operator=(const GraphicSource&) = delete;

    // Gives `image` the item's source settings; a change of source forgets what the last
    // source delivered.
    void Sync(const GraphicItem& item, Image& image);
    // The item is due: looks for a new picture; true when `image` got one.
    bool Refresh(const GraphicItem& item, Image& image, const CompositionServices& services);
    // A downloaded picture that arrived since the last pass, decoded into `image`; true
    // when the picture changed. Cheap when nothing arrived.
    bool TakeDownload(Image& image);
    // A shared picture (another canvas, a feed) other than the one shown last.
    // A picture of that revision (0: none) is not the one shown.
    bool IsNew(std::uint64_t revision) const {
        return revision != 0 && (!shared_shown_ || revision != shared_revision_);
    }

private:
    struct Download;

    bool RefreshFile(Image& image);
    bool RefreshRectangle(const GraphicItem& item, Image& image);
    bool RefreshShared(SharedPicture shared, Image& image);
    void StartDownload(const GraphicItem& item, const CompositionServices& services);
    void Report(const std::string& url, const std::string& problem);

    std::optional<SourceType> type_; // none until the first Sync
    std::string file_name_;          // the picture file, as the file system wants it
    FileStamp stamp_;
    bool stamp_known_ = false;
    int rectangle_width_ = 0, rectangle_height_ = 0;
    std::uint64_t shared_revision_ = 0;
    bool shared_shown_ = false;
    std::shared_ptr<Download> download_;
    std::string url_problem_; // so that a URL that stays broken is logged once
};

} // namespace tess
