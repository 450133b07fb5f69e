// A live instance of a plug-in in one context: its clips' sources, its
// parameter values, and the actions a host sends to it, render first.
//
// Host-side misuse (an unknown clip or parameter, a value of the wrong
// shape, an output buffer that does not fit) throws Error. What the plug-in
// answers comes back as its OfxStatus, untouched.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "ofxImageEffect.h"
#include "ofxhost/Effect.h"
#include "ofxhost/Image.h"

namespace ofxhost {

class HostImage;
class OpenCLDevice;
class OpenCLFrame;

enum class Quality { Draft, Preview, Good, Best };
const char* qualityName(Quality q);  // "draft", ...

struct RenderOptions {
    Depth depth = Depth::Byte;
    PixelOrder order = PixelOrder::RGBA;
    // Row layout of every image the plug-in receives, inputs and output.
    Layout layout;
    // In output pixels; default the whole output image.
    std::optional<RectI> window;
    double renderScale = 1.0;
    Quality quality = Quality::Best;
    std::string field = "OfxFieldNone";
    bool sequential = false;
    bool interactive = false;
    // Render on the host's OpenCL device (packed cl_mem images) when the
    // plug-in declares OpenCL support; on the CPU when it does not. Asking
    // for it from a host with no device is an Error.
    bool openCL = false;
    // A strict host's check: the output is filled with a poison value before
    // the render (NaN in float, a pattern in bytes), so that whatever the
    // plug-in leaves unwritten shows.
    bool poison = false;
};

// Frames of an input clip: the image at a time, or null when the clip has
// no frame there. May throw Error (an unreadable file).
using FrameSource = std::function<std::shared_ptr<const ImageBuffer>(double time)>;

// What a plug-in's progress bar reports to the host: its start (with the
// label), each update (0 to 1) and its end.
struct ProgressEvent {
    enum class Kind { Start, Update, End };
    Kind kind;
    std::string label;
    double progress = 0.0;
};
// Sees each event; returning false from an update answers the plug-in
// kOfxStatReplyNo, as a user's Cancel does.
using ProgressWatcher = std::function<bool(const ProgressEvent&)>;

// The state of one render call, visible to the image effect suite.
struct RenderContext {
    class Instance* instance;
    double time;
    RenderOptions options;
    ImageBuffer* output;
    OpenCLFrame* openCL = nullptr;  // the device buffers of an OpenCL render
};

class Instance : public EffectObject {
public:
    ~Instance() override;
    Instance* asInstance() override { return this; }
    std::shared_ptr<Plugin> pluginShared() const { return pluginRef_; }

    // Project (the output frame at full scale) and time line.
    void setProjectSize(int width, int height);
    int projectWidth() const { return projectWidth_; }
    int projectHeight() const { return projectHeight_; }
    void setFrameRange(double first, double last);
    void setFrameRate(double fps);
    void setTime(double t) { time_ = t; }
    std::pair<double, double> timeBounds() const { return {firstFrame_, lastFrame_}; }

    // Input clips.
    std::vector<std::string> inputClipNames() const;
    void connect(const std::string& clip, FrameSource source);
    void connect(const std::string& clip, std::shared_ptr<const ImageBuffer> image);
    void disconnect(const std::string& clip);
    bool connected(const std::string& clip) const;

    // Parameters, by name or script name. setValue and setValueText send the
    // instance-changed actions (reason user edited) as an editing host does;
    // with a time they set a keyframe there.
    Param& param(std::string_view nameOrScriptName) const;
    // Presses a push button as a user's click does: the instance-changed
    // calls for it at the time. Throws Error for another kind of parameter.
    void press(std::string_view name, double time);
    // Hands the effect the keys of its older form (the keyframe-uplift
    // action); throws Error when the action fails.
    void uplift(const struct UpliftData& data);
    void setValue(std::string_view name, const ParamValue& v, std::optional<double> time = {});
    void setValueText(std::string_view name, const std::string& text, std::optional<double> time = {});
    ParamValue value(std::string_view name, double time) const;

    // The options of the renders to come. Images fetched outside a render
    // (in an instance-changed action, as an analysis does) come in their
    // depth, order, layout and scale, and the clips announce them at once.
    // Each render, and each identity test, sets them again.
    void setRenderOptions(const RenderOptions& options);

    // The output image a render with these options expects.
    ImageBuffer makeOutput(const RenderOptions& options) const;
    // Renders one frame into output (its depth and order must be the options').
    OfxStatus render(double time, const RenderOptions& options, ImageBuffer& output);
    // Renders on the device into the frame's output buffer, with no read-back:
    // inputs uploaded by an earlier call stay on the device, so repeated calls
    // time the plug-in's device work alone. The frame's finish() waits for
    // it. Throws Error when the effect does not render with OpenCL.
    OfxStatus renderResident(double time, const RenderOptions& options, OpenCLFrame& frame);
    OfxStatus isIdentity(double time, const RenderOptions& options, std::string& clip, double& identityTime);
    OfxStatus regionOfDefinition(double time, double renderScale, OfxRectD& rod);
    OfxStatus regionsOfInterest(double time, double renderScale, const OfxRectD& roi, PropertySet& out);
    OfxStatus framesNeeded(double time, PropertySet& out);
    OfxStatus clipPreferences(PropertySet& out);
    OfxStatus timeDomain(OfxRangeD& range);
    OfxStatus beginSequence(double first, double last, double step, const RenderOptions& options);
    OfxStatus endSequence(double first, double last, double step, const RenderOptions& options);
    OfxStatus instanceChanged(const std::string& type, const std::string& name, const std::string& reason, double time);

    // What abort() answers to the plug-in; it also cancels a progress bar.
    void setAbort(bool abort) { abort_ = abort; }
    bool abortRequested() const { return abort_; }
    // Images fetched and not yet released.
    std::size_t liveImageCount() const;
    // The last failure of an input source during clipGetImage, "" when none.
    std::string lastSourceError() const;

    // The plug-in's progress bars go to the watcher (none by default).
    void watchProgress(ProgressWatcher watcher);
    bool progressOpen() const;
    // The progress suite's side. kOfxStatFailed for an update or end with no
    // bar open, and for a second bar while one is open; kOfxStatReplyNo from
    // an update that the watcher or the abort flag cancels.
    OfxStatus progressStart(const std::string& label);
    OfxStatus progressUpdate(double progress);
    OfxStatus progressEnd();

    // The image effect suite's side.
    OfxStatus getImage(Clip& clip, double time, OfxPropertySetHandle* out);
    OfxStatus releaseImage(OfxPropertySetHandle image);
    // Releases an image of whichever instance gave it; kOfxStatErrBadHandle
    // when the handle is not a live image.
    static OfxStatus releaseAnyImage(OfxPropertySetHandle image);
    OfxStatus clipRegionOfDefinition(Clip& clip, double time, OfxRectD& out);

private:
    friend class Plugin;
    Instance(std::shared_ptr<Plugin> plugin, const EffectObject& descriptor);

    friend class HostImage;
    using CacheKey = std::tuple<std::string, double, Depth, PixelOrder, int, bool, double>;

    void setClipFormats(const RenderOptions& o);
    // The options' window, checked to lie within the output. Throws Error.
    static RectI checkedWindow(const RenderOptions& o, const ImageBuffer& output);
    OfxStatus renderInto(double time, const RenderOptions& o, ImageBuffer& output, const RectI& window,
                         OpenCLFrame* gpu);
    const RenderContext* findRender(double time) const;
    // The input's frame in the options' format. Frames read for a render are
    // kept until a render of another time, so that the plug-in's fetch finds
    // the frame the render read; others (an analysis walking a sequence) are
    // not kept.
    std::shared_ptr<const ImageBuffer> inputFrame(const Clip& clip, double time, const RenderOptions& o, bool keep);
    void fillRenderArgs(PropertySet& in, double time, const RenderOptions& o, const RectI& window) const;
    // The device that renders with these options, or null for the CPU.
    OpenCLDevice* openCLFor(const RenderOptions& o) const;
    OfxStatus callWithRender(const char* action, const RenderContext* ctx, OfxPropertySetHandle in,
                             OfxPropertySetHandle out);
    void notifyChanged(const std::string& name, double time);

    std::shared_ptr<Plugin> pluginRef_;
    int projectWidth_ = 1920;
    int projectHeight_ = 1080;
    double firstFrame_ = 0.0;
    double lastFrame_ = 0.0;
    std::atomic<bool> abort_{false};
    std::map<std::string, FrameSource> sources_;

    mutable std::mutex mutex_;  // guards everything below
    std::vector<const RenderContext*> renders_;
    RenderOptions lastOptions_;
    std::map<CacheKey, std::shared_ptr<const ImageBuffer>> cache_;
    std::map<const void*, std::unique_ptr<class HostImage>> images_;
    std::string sourceError_;
    unsigned long imageSerial_ = 0;
    ProgressWatcher progressWatcher_;
    bool progressOpen_ = false;
};

}  // namespace ofxhost
