#include "capture/video_feed_properties.h"

#include <limits>

namespace tess {

namespace {

using T = PropertyType;

// Scripts know these by their object-model names. One asymmetry of that model is not a
// property of the detector and is left to the script layer: writing LightTrigger there sets
// the darker limit.
PropertyTable<MotionDetect> MakeMotionTable() {
    using P = Property<MotionDetect>;
    using M = MotionDetect;
    return PropertyTable<MotionDetect>({
        P("LightTrigger", "", "BrighterMotionLimit", T::Integer, "100")
            .Range(128, 255)
            .Means("histogram levels from this one up count as brighter motion (128 no change)")
            .Access(&M::BrighterMotionLimit, &M::SetBrighterMotionLimit),
        P("CoverageRequirement", "", "CoverageLimit", T::Single, "100")
            .Range(0, 1)
            .Means("trigger level on the logarithmic coverage scale: 0 a millionth, 1 all")
            .Access(&M::CoverageLimit, &M::SetCoverageLimit),
        P("DarkTrigger", "", "DarkerMotionLimit", T::Integer, "-100")
            .Range(0, 128)
            .Means("histogram levels up to this one count as darker motion")
            .Access(&M::DarkerMotionLimit, &M::SetDarkerMotionLimit),
        P("BlurSize", "", "DiffPreBlurRadius", T::Integer, "0")
            .Range(0, M::kMaxBlurRadius)
            .Units("pixels")
            .Means("blur of each frame before differencing; 0 none")
            .Access(&M::DiffPreBlurRadius, &M::SetDiffPreBlurRadius),
        P("Enabled", "", "Enabled", T::Boolean, "False")
            .Means("motion is detected on this feed")
            .Access(&M::Enabled, &M::SetEnabled),
        P("BeepOnTrigger", "", "Beep", T::Boolean, "False")
            .Means("beep at each trigger")
            .Access(&M::MotionBeep, &M::SetMotionBeep),
        P("TriggerRestPeriod", "", "TriggerRestInterval", T::Integer, "0")
            .Range(-M::kMaxRestInterval, M::kMaxRestInterval)
            .Units("seconds")
            .Means("rest after a trigger; negative counts frames instead")
            .Access(&M::MotionTriggerRestInterval, &M::SetMotionTriggerRestInterval),
        P("SaveDiff", "", "SaveDiff", T::Boolean, "False")
            .Means("save the difference picture at a trigger")
            .Access(&M::SaveDiff, &M::SetSaveDiff),
        P("SaveFixed", "", "SaveFixed", T::Boolean, "False")
            .Means("save the frame to one fixed file at a trigger")
            .Access(&M::SaveFixed, &M::SetSaveFixed),
        P("FixedFileName", "", "SaveFixedFileName", T::Path, "motion\\motion.jpg")
            .Means("the fixed file")
            .Access(&M::SaveFixedFileName, &M::SetSaveFixedFileName),
        P("SaveTimeNamed", "", "SaveSequential", T::Boolean, "False")
            .Means("save the frame under a time-stamped name at a trigger")
            .Access(&M::SaveSequential, &M::SetSaveSequential),
        P("TimeNamedPath", "", "SaveSequentialPath", T::Path, "motion\\")
            .Means("folder of the time-stamped files")
            .Access(&M::SaveSequentialPath, &M::SetSaveSequentialPath),
        P("ShowCoverageSize", "", "ShowDiffImageCoverage", T::Boolean, "False")
            .Means("draw the coverage-limit box in the difference view")
            .Access(&M::ShowDiffImageCoverage, &M::SetShowDiffImageCoverage),
        P("MaskFile", "", "MaskFile", T::Path, "")
            .Means("picture (PNG or PGM) whose black pixels are not watched; empty: none")
            .Access(&M::MaskFileName, &M::SetMaskFileName),
        P("LightChangeGuard", "", "LightChangeGuard", T::Integer, "0")
            .Range(0, 100)
            .Units("percent")
            .Means("no trigger when more than this share of the picture changed at once; 0 off")
            .Access(&M::LightChangeGuard, &M::SetLightChangeGuard),
        P("TriggerCommand", "", "TriggerCommand", T::String, "")
            .Means("shell command run at each trigger: %f feed number from 1, %s saved files, %c "
                   "coverage, %p coverage in percent, %t trigger time; empty: none")
            .Access(&M::TriggerCommand, &M::SetTriggerCommand),
        P("TriggerCommandTimeLimit", "", "TriggerCommandTimeLimit", T::Integer, "30")
            .Range(1, 3600)
            .Units("seconds")
            .Means("the trigger command is stopped after this long")
            .Access(&M::TriggerCommandTimeLimit, &M::SetTriggerCommandTimeLimit),
    });
}

// A feed without a name had no device when it was saved: its other keys are not read.
PropertyTable<VideoFeed> MakeFeedTable() {
    using P = Property<VideoFeed>;
    using V = VideoFeed;
    return PropertyTable<VideoFeed>({
        P("InputDeviceName", "", "Name", T::String, "")
            .Gate()
            .Means("the device's description; empty: no device, the other keys are not read")
            .Access(&V::FeedName, &V::SetFeedName),
        P("Enabled", "", "Enabled", T::Boolean, "False")
            .Means("the camera is opened and grabbed")
            .Access(&V::Enabled, &V::SetEnabled),
        P("Rate", "", "FrameRate", T::Double, "30")
            .Range(V::kMinRate, std::numeric_limits<double>::infinity())
            .Units("frames per second")
            .Means("frames wanted, never fewer than one a minute")
            .Access(&V::Rate, &V::SetRate),
        P("PreviewWindowEnabled", "", "ShowPreview", T::Boolean, "False")
            .Means("the user asked for a preview window")
            .Access(&V::ShowPreview, &V::SetShowPreview),
        P("MotionDetect", "", "Motion", T::Group, "")
            .Means("the feed's motion detector")
            .Group(
                MotionDetectProperties(), [](auto& v) -> auto& { return v.MotionDetect(); }),
    });
}

} // namespace

const PropertyTable<MotionDetect>& MotionDetectProperties() {
    static const PropertyTable<MotionDetect> table = MakeMotionTable();
    return table;
}

const PropertyTable<VideoFeed>& VideoFeedProperties() {
    static const PropertyTable<VideoFeed> table = MakeFeedTable();
    return table;
}

} // namespace tess
