// Running a render job: the sequence of frames, identity, the render
// action, and the outputs kept pending until every frame has rendered.
#include "ofxhost/Renderer.h"

#include <algorithm>
#include <cmath>

#include "ofxImageEffect.h"
#include "ofxhost/ImageIO.h"
#include "ofxhost/Plugin.h"
#include "ofxhost/Sequence.h"
#include "ofxhost/Status.h"

namespace ofxhost {

RenderResult runRenderJob(Plugin& plugin, const RenderJob& job) {
    if (job.times.empty()) throw Error("render", "no frames to render");
    if (!job.output.empty()) {
        if (job.times.size() > 1 && !hasFramePattern(job.output))
            throw Error("-o " + job.output, "renders " + std::to_string(job.times.size()) +
                                                " frames, so it needs # in its name for the frame number");
        checkWritable(expandFramePattern(job.output, std::lround(job.times.front())));
    }
    RenderOptions options = job.options;
    auto instance = prepareInstance(plugin, job, options);

    RenderResult result;
    result.context = instance->context();
    result.depth = options.depth;
    std::vector<PendingImage> pending;
    const double first = job.times.front(), last = job.times.back();
    const double step = job.times.size() > 1 ? job.times[1] - job.times[0] : 1.0;
    RenderOptions seq = options;
    seq.sequential = true;
    throwIfFailed(instance->beginSequence(first, last, step, seq), plugin.id(), "begin sequence render action");
    for (std::size_t i = 0; i < job.times.size(); ++i) {
        const double t = job.times[i];
        instance->setTime(t);
        ImageBuffer out = instance->makeOutput(seq);
        bool done = false;
        if (job.checkIdentity) {
            std::string clip;
            double identityTime = t;
            const OfxStatus s = instance->isIdentity(t, seq, clip, identityTime);
            if (s == kOfxStatOK && !clip.empty()) {
                Clip* c = instance->clip(clip);
                if (!c || c->isOutput()) throw Error(plugin.id(), "is identity on an unknown clip \"" + clip + "\"");
                OfxPropertySetHandle h = nullptr;
                if (instance->getImage(*c, identityTime, &h) == kOfxStatOK) {
                    PropertySet* img = PropertySet::fromHandle(h);
                    const auto b = img->getInts(kOfxImagePropBounds);
                    const auto* data = static_cast<const std::byte*>(img->getPointer(kOfxImagePropData));
                    const int rowBytes = img->getInt(kOfxImagePropRowBytes);
                    const RectI ob = out.bounds();
                    for (int y = std::max(ob.y1, b[1]); y < std::min(ob.y2, b[3]); ++y) {
                        const int x1 = std::max(ob.x1, b[0]), x2 = std::min(ob.x2, b[2]);
                        if (x2 > x1)
                            std::copy_n(data + std::ptrdiff_t(y - b[1]) * rowBytes +
                                            std::ptrdiff_t(x1 - b[0]) * out.pixelBytes(),
                                        std::size_t(x2 - x1) * out.pixelBytes(),
                                        static_cast<std::byte*>(out.pixelAddress(x1, y)));
                    }
                    instance->releaseImage(h);
                    done = true;
                }
            } else {
                throwIfFailed(s, plugin.id(), "is identity action");
            }
        }
        if (!done) {
            const OfxStatus s = instance->render(t, seq, out);
            if (s != kOfxStatOK && s != kOfxStatReplyDefault) {
                std::string why = "render action at time " + std::to_string(t) + " returned " + statusName(s);
                if (const std::string source = instance->lastSourceError(); !source.empty()) why += " (" + source + ")";
                throw Error(plugin.id(), why, s);
            }
        }
        if (!job.output.empty())
            pending.emplace_back(expandFramePattern(job.output, std::lround(t)), out);
        else
            result.frames.push_back(std::move(out));
        if (job.onFrame) job.onFrame(i, job.times.size(), t);
    }
    throwIfFailed(instance->endSequence(first, last, step, seq), plugin.id(), "end sequence render action");
    for (auto& p : pending) {
        p.commit();
        result.written.push_back(p.target());
    }
    return result;
}

}  // namespace ofxhost
