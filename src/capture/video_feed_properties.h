#pragma once

// A video feed's settings and its motion detector's, as the portfolio file's "VideoFeeds"
// section, scripts and the control panel see them. The file numbers each feed's keys from
// 0 ("Feed0Name", "Feed0MotionEnabled"); the tables name them without the number.

#include "capture/video_feed.h"
#include "settings/property_table.h"

namespace tess {

const PropertyTable<MotionDetect>& MotionDetectProperties();
const PropertyTable<VideoFeed>& VideoFeedProperties();

} // namespace tess
