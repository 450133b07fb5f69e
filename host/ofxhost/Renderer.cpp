// Running a render job: the sequence of frames, each rendered through the
// instance's render sequence, and the outputs kept pending until every frame
// has rendered.
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
    seq.checkIdentity = job.checkIdentity;
    throwIfFailed(instance->beginSequence(first, last, step, seq), plugin.id(), "begin sequence render action");
    for (std::size_t i = 0; i < job.times.size(); ++i) {
        const double t = job.times[i];
        instance->setTime(t);
        ImageBuffer out = instance->makeOutput(seq);
        // The whole sequence of the standard, identity included; the frame
        // starts transparent black, and so stays where nothing is defined.
        RenderPlan plan;
        const OfxStatus s = instance->render(t, seq, out, &plan);
        if (s != kOfxStatOK && s != kOfxStatReplyDefault) {
            std::string why = "render action at time " + std::to_string(t) + " returned " + statusName(s);
            if (const std::string source = instance->lastSourceError(); !source.empty()) why += " (" + source + ")";
            throw Error(plugin.id(), why, s);
        }
        // A render that "passed" without touching its output made no frame.
        if (plan.identityClip.empty() && !plan.tiles.empty() && !plan.window.empty() && !plan.outputFetched)
            throw Error(plugin.id(), "render action at time " + std::to_string(t) + " returned " + statusName(s) +
                                         " without fetching the output image");
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
