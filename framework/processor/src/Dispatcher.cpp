#include <vimra/processor/Dispatcher.h>
#include <vimra/processor/ProcessingException.h>

#include <boost/format.hpp>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include <atomic>
#include <exception>
#include <mutex>

namespace vimra::processor {

namespace {

/// Keeps the first failure of a parallel loop; the lock is taken only on failure.
class FirstFailure {
public:
    void set(const std::string& message) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_failed.load(std::memory_order_relaxed)) m_message = message;
        m_failed.store(true, std::memory_order_release);
    }
    bool failed() const { return m_failed.load(std::memory_order_acquire); }
    std::string message() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_message;
    }

private:
    std::atomic<bool> m_failed{false};
    mutable std::mutex m_mutex;
    std::string m_message;
};

}  // namespace

BoolResult parallelFor(RunContext& context, std::uint64_t count,
                       const std::function<BoolResult(std::uint64_t, std::uint64_t)>& body) {
    if (count == 0) return BoolResult::success();
    FirstFailure failure;
    auto runRange = [&](std::uint64_t begin, std::uint64_t end) {
        if (failure.failed() || context.isCancellationRequested()) return;
        try {
            BoolResult r = body(begin, end);
            if (!r) failure.set(r.getMessage());
        } catch (const std::exception& e) {
            failure.set(e.what());
        } catch (...) {
            failure.set("unknown exception in a worker");
        }
        // A failure stops the other parts of the run early.
        if (failure.failed()) context.requestCancellation();
    };
    if (count == 1) {
        runRange(0, 1);  // small work stays on the calling thread
    } else {
        tbb::parallel_for(tbb::blocked_range<std::uint64_t>(0, count),
                          [&](const tbb::blocked_range<std::uint64_t>& r) { runRange(r.begin(), r.end()); });
    }
    if (failure.failed()) return BoolResult::failure(failure.message());
    if (context.isCancellationRequested()) return BoolResult::failure("processing cancelled");
    return BoolResult::success();
}

// ---- sub-images -------------------------------------------------------------------------------

std::uint64_t subImageCount(const image::BaseImage& img, eSubImageSplitType::domain type) {
    const std::uint64_t z = img.getSizeZ(), c = img.getSizeC(), t = img.getSizeT();
    switch (type) {
        case eSubImageSplitType::ePlane2d: return z * c * t;
        case eSubImageSplitType::eColor2d: return z * t;
        case eSubImageSplitType::eSequence2d: return z * c;
        case eSubImageSplitType::eVolume3d: return c * t;
        case eSubImageSplitType::eColor3d: return t;
    }
    return 0;
}

image::ImageView::Box subImageBox(const image::BaseImage& img, eSubImageSplitType::domain type,
                                  std::uint64_t index) {
    const std::uint64_t z = img.getSizeZ(), c = img.getSizeC(), t = img.getSizeT();
    image::ImageView::Box b;
    switch (type) {
        case eSubImageSplitType::ePlane2d:
            b.z0 = index % z, b.c0 = (index / z) % c, b.t0 = index / (z * c);
            break;
        case eSubImageSplitType::eColor2d:
            b.z0 = index % z, b.t0 = index / z, b.sizeC = c;
            break;
        case eSubImageSplitType::eSequence2d:
            b.z0 = index % z, b.c0 = index / z, b.sizeT = t;
            break;
        case eSubImageSplitType::eVolume3d:
            b.c0 = index % c, b.t0 = index / c, b.sizeZ = z;
            break;
        case eSubImageSplitType::eColor3d:
            b.t0 = index, b.sizeZ = z, b.sizeC = c;
            break;
    }
    return b;
}

// ---- dispatchers ------------------------------------------------------------------------------

BoolResult BaseStaticProcessorDispatcher::run(RunContext& context) {
    std::uint64_t count = 0;
    for (const StaticSplitPtr& s : splits()) {
        const std::uint64_t n = s->getCount();
        if (n == 0) continue;
        if (count != 0 && n != count)
            return BoolResult::failure(
                (boost::format("Static dispatch: splits disagree on the number of sub-images (%d and %d)") %
                 count % n)
                    .str());
        count = n;
    }
    return parallelFor(context, count, [&](std::uint64_t begin, std::uint64_t end) {
        for (std::uint64_t i = begin; i < end; ++i) {
            if (context.isCancellationRequested()) break;
            ProcessorPtr p = createProcessor();
            BoolResult r = p->init(eRulePolicy::eRulesOff);
            if (!r) return r;
            for (const StaticSplitPtr& s : splits()) s->assign(*p, i);
            r = p->execute(context);
            if (!r) return r;
        }
        return BoolResult::success();
    });
}

void throwMissingImage(const char* attributeName) {
    throw VIMRABaseProcessingException(
        (boost::format("Strip split of attribute %s: no image to cut") % attributeName).str(),
        "vimra::processor::BaseImageStripSplit::setImage");
}

namespace detail {

void describeStrip(const image::BaseImageYStrip2d& strip, ProcessingInfo& info) {
    info.count = strip.getElementCount();
    info.sizeX = strip.getSizeX();
    info.rows = strip.getSizeY();
    info.planes = 1;
    info.planeStride = strip.getElementCount();
    info.startY = strip.getStripStartOffsetY();
    info.startZ = 0;
}

void describeStrip(const image::BaseImageZStrip3d& strip, ProcessingInfo& info) {
    // A band of planes is one run only when the planes are packed; kernels that
    // walk flat runs get a count that covers the padding between planes too.
    info.count = strip.getSizeZ() == 0 ? 0
                                       : (strip.getSizeZ() - 1) * strip.getPlaneStride() + strip.getPlaneSize();
    info.sizeX = strip.getSizeX();
    info.rows = strip.getSizeY();
    info.planes = strip.getSizeZ();
    info.planeStride = strip.getPlaneStride();
    info.startY = 0;
    info.startZ = strip.getStripStartOffsetZ();
}

}  // namespace detail

namespace {

/// The common extent of a dispatcher's image splits, or a failure naming the
/// attributes that disagree.
struct StripExtent {
    std::uint64_t sizeX = 0, sizeY = 0, sizeZ = 0;
    eStripAxis::domain axis = eStripAxis::eY;
    bool any = false;
};

BoolResult findExtent(const std::vector<DynamicSplitPtr>& splits, StripExtent& extent) {
    const char* first = nullptr;
    for (const DynamicSplitPtr& s : splits) {
        if (!s->hasExtent()) continue;
        if (!extent.any) {
            extent = {s->getSizeX(), s->getSizeY(), s->getSizeZ(), s->getAxis(), true};
            first = s->getAttributeName();
            continue;
        }
        if (s->getAxis() != extent.axis)
            return BoolResult::failure((boost::format("Strip dispatch: %s and %s are cut along different axes") %
                                        first % s->getAttributeName())
                                           .str());
        if (s->getSizeX() != extent.sizeX || s->getSizeY() != extent.sizeY || s->getSizeZ() != extent.sizeZ)
            return BoolResult::failure(
                (boost::format("Strip dispatch: %s (%dx%dx%d) and %s (%dx%dx%d) cannot be cut into the same "
                               "strips") %
                 first % extent.sizeX % extent.sizeY % extent.sizeZ % s->getAttributeName() % s->getSizeX() %
                 s->getSizeY() % s->getSizeZ())
                    .str());
    }
    return BoolResult::success();
}

}  // namespace

BoolResult BaseDynamicProcessorDispatcher::run(RunContext& context) {
    StripExtent e;
    BoolResult r = findExtent(splits(), e);
    if (!r) return r;
    const bool alongZ = e.axis == eStripAxis::eZ;
    const std::uint64_t length = alongZ ? e.sizeZ : e.sizeY;  // rows or planes to cut
    if (!e.any || length == 0 || e.sizeX == 0 || e.sizeY == 0) return BoolResult::success();
    const ProcessorDispatchPolicy& policy = context.getPolicy();
    const std::uint64_t height =
        alongZ ? image::chooseStripDepth(e.sizeX * e.sizeY, length, policy.getStripTargetElements())
               : image::chooseStripHeight(e.sizeX, length, policy.getStripTargetElements());
    const std::uint64_t strips = (length + height - 1) / height;
    const std::uint64_t elements = e.sizeX * e.sizeY * (alongZ ? e.sizeZ : 1);

    auto runChunk = [&](std::uint64_t begin, std::uint64_t end) {
        // One level-3 processor per chunk of strips; its attributes are resolved once.
        ProcessorPtr p = createProcessor();
        BoolResult ok = p->init(eRulePolicy::eRulesOn);
        if (!ok) return ok;
        AttributePtr targets[KernelArgs::s_maxInputs + KernelArgs::s_maxOutputs + KernelParams::s_max];
        const std::size_t n = splits().size();
        if (n > std::size(targets)) return BoolResult::failure(p->getObjectName() + ": too many strip splits");
        for (std::size_t j = 0; j < n; ++j) {
            targets[j] = splits()[j]->resolve(*p);
            if (!targets[j])
                return BoolResult::failure(p->getObjectName() + ": no attribute " +
                                           splits()[j]->getAttributeName() + " for its strip split");
        }
        std::vector<image::StripParserPtr> parsers;
        p->initDataParserColl(parsers);
        for (std::uint64_t k = begin; k < end; ++k) {
            if (context.isCancellationRequested()) break;
            const std::uint64_t start = k * height;
            const std::uint64_t count = std::min(height, length - start);
            for (std::size_t j = 0; j < n; ++j) splits()[j]->assign(*targets[j], start, count);
            // The first strip of a chunk goes through the processor's checks and rule.
            ok = k == begin ? p->execute(context) : p->executeUnchecked(context);
            if (!ok) break;
        }
        p->clearDataParserColl();
        return ok;
    };
    if (elements <= policy.getParallelThreshold()) return parallelFor(context, 1, [&](std::uint64_t, std::uint64_t) {
            return runChunk(0, strips);
        });
    return parallelFor(context, strips, runChunk);
}

}  // namespace vimra::processor
