// A live instance of a plug-in in one context: its clips' sources, its
// parameter values, and the actions a host sends to it, render first.
//
// Host-side misuse (an unknown clip or parameter, a value of the wrong
// shape, an output buffer that does not fit) throws Error. What the plug-in
// answers comes back as its OfxStatus, untouched.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
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
    // The bytes of a poisoned byte pixel, in storage order; vary them to tell
    // the poison from a value the plug-in wrote.
    std::array<std::uint8_t, 4> poisonBytes{0xCD, 0x5A, 0xA5, 0x3C};
    // Asks the identity action first and copies the identity clip's image
    // instead of rendering when the plug-in names one.
    bool checkIdentity = true;
};

// What the host settled for one frame before the render action, in the
// options' pixels (render scale applied). Filled by Instance::planRender;
// the render fills the last part.
struct RenderPlan {
    double time = 0.0;
    // The clip and time the plug-in is an identity of; "" when it renders.
    std::string identityClip;
    double identityTime = 0.0;
    // The output's region of definition as the plug-in answered it
    // (canonical coordinates), and in pixels within the frame.
    OfxRectD regionOfDefinition{0, 0, 0, 0};
    RectI definedPixels;
    // The window the render action is asked for: the region of definition
    // within the frame and within the requested window. A plug-in without
    // tiles is asked for the whole region of definition, rendered aside
    // (scratch) and copied back within the requested window.
    RectI window;
    RectI requested;
    bool scratch = false;
    // The bounds of the image each connected input clip is handed: its
    // region of interest within its region of definition (the whole region
    // of definition for a plug-in without tiles).
    std::map<std::string, RectI> inputBounds;

    // No render call where the region of definition leaves nothing of the
    // window asked for. A window asked empty is passed on as it is: a host
    // may ask for nothing, and a plug-in must cope.
    bool skipsRender() const { return window.empty() && !requested.empty(); }

    // Filled by the render: the windows of its render calls, and whether the
    // plug-in fetched the output image at all.
    std::vector<RectI> tiles;
    bool outputFetched = false;
};

// What the clip preferences action answered last, as far as this host takes
// it up: one depth and RGBA for every clip (a host without multiple clip
// depths ignores a depth asked for a clip), the output's premultiplication
// and field order, and whether frames vary.
struct ClipPreferences {
    std::string premultiplication = kOfxImagePreMultiplied;
    std::string fieldOrder = kOfxImageFieldNone;
    bool frameVarying = false;
    bool continuousSamples = false;
    // How many times the action was sent to this instance.
    int asked = 0;
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
    const RenderPlan* plan = nullptr;
    mutable std::atomic<int> outputFetches{0};
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
    // Renders one frame into output (its depth and order must be the
    // options') as the standard's sequence has it: clip preferences when not
    // yet asked or after a change, identity, region of definition, regions of
    // interest, then the render action over the output's region of definition
    // within the frame and the requested window, split into tiles over the
    // host's threads when the plug-in asks for host frame threading. Pixels
    // outside that window are left as they are. The plan, when given, tells
    // what was settled and rendered. Throws Error when the plug-in cannot
    // render here (no output clip, no CPU rendering and no GPU path) or a
    // question of the sequence fails.
    OfxStatus render(double time, const RenderOptions& options, ImageBuffer& output, RenderPlan* plan = nullptr);
    // The questions alone, and the render of a frame already planned (what a
    // benchmark repeats). The plan stays valid while nothing changes.
    RenderPlan planRender(double time, const RenderOptions& options, const ImageBuffer& output);
    OfxStatus renderPlanned(RenderPlan& plan, const RenderOptions& options, ImageBuffer& output);
    // Renders on the device into the frame's output buffer, with no read-back:
    // inputs uploaded by an earlier call stay on the device, so repeated calls
    // time the plug-in's device work alone. The frame's finish() waits for
    // it. Throws Error when the effect does not render with OpenCL.
    OfxStatus renderResident(double time, const RenderOptions& options, OpenCLFrame& frame);
    // With a plan made for an OpenCL render; no poison (the frame's buffer is
    // already on the device).
    OfxStatus renderResident(RenderPlan& plan, const RenderOptions& options, OpenCLFrame& frame);
    // What the clip preferences action answered last.
    ClipPreferences clipPreferencesTaken() const;
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
    // The region, when given, is in canonical coordinates; else a render's
    // image is what the plug-in asked for in its regions of interest.
    OfxStatus getImage(Clip& clip, double time, OfxPropertySetHandle* out, const OfxRectD* region = nullptr);
    OfxStatus releaseImage(OfxPropertySetHandle image);
    // Releases an image of whichever instance gave it; kOfxStatErrBadHandle
    // when the handle is not a live image.
    static OfxStatus releaseAnyImage(OfxPropertySetHandle image);
    OfxStatus clipRegionOfDefinition(Clip& clip, double time, OfxRectD& out);

private:
    friend class Plugin;
    Instance(std::shared_ptr<Plugin> plugin, const EffectObject& descriptor);

    friend class HostImage;
    // Clip, time, format, scale, and the part of the frame (all INT_MIN for
    // the whole frame).
    using CacheKey = std::tuple<std::string, double, Depth, PixelOrder, int, bool, double, int, int, int, int>;

    // Depth, components and order of the clips: the options' for the output
    // and connected inputs, none for inputs without one.
    void setClipFormats(const RenderOptions& o);
    // Sends the clip preferences action when it is due, and takes up what
    // this host supports of the answer.
    void refreshClipPreferences(const RenderOptions& o);
    // Throws Error when the plug-in cannot render here with these options.
    void checkRenderable(const RenderOptions& o) const;
    // The identity clip's image at the identity time, copied over the window.
    // Checks the output against the options and starts the plan's render
    // afresh; true when nothing is left to render (an identity, copied now,
    // or a window the region of definition leaves empty).
    bool doneWithoutRender(RenderPlan& plan, const RenderOptions& o, ImageBuffer& output);
    void copyIdentity(const RenderPlan& plan, const RenderOptions& o, ImageBuffer& output);
    // The render calls over the plan's window, as the plug-in's threading
    // and thread safety allow.
    OfxStatus callRender(const RenderContext& ctx, RenderPlan& plan);
    // The options' window, checked to lie within the output. Throws Error.
    static RectI checkedWindow(const RenderOptions& o, const ImageBuffer& output);
    OfxStatus renderInto(RenderPlan& plan, const RenderOptions& o, ImageBuffer& output, OpenCLFrame* gpu);
    const RenderContext* findRender(double time) const;
    // The input's frame in the options' format. Frames read for a render are
    // kept until a render of another time, so that the plug-in's fetch finds
    // the frame the render read; others (an analysis walking a sequence) are
    // not kept.
    // With a part, the frame cut to it (an image with those bounds, within
    // the frame).
    std::shared_ptr<const ImageBuffer> inputFrame(const Clip& clip, double time, const RenderOptions& o, bool keep,
                                                  const std::optional<RectI>& part = {});
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
    // The bounds of input frames as their sources gave them (canonical
    // coordinates), by clip and time, kept as long as the cache.
    std::map<std::pair<std::string, double>, RectI> sourceBounds_;
    std::map<const void*, std::unique_ptr<class HostImage>> images_;
    std::string sourceError_;
    unsigned long imageSerial_ = 0;
    // The clip preferences are asked again after any change to the instance.
    bool preferencesDue_ = true;
    std::optional<Depth> preferencesDepth_;
    ClipPreferences preferences_;
    // Held by the render calls of a plug-in that is instance safe.
    std::mutex renderMutex_;
    std::mutex preferencesMutex_;
    ProgressWatcher progressWatcher_;
    bool progressOpen_ = false;
};

}  // namespace ofxhost
