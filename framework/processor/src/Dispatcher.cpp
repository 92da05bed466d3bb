#include <vimra/processor/Dispatcher.h>

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

BoolResult BaseDynamicProcessorDispatcher::run(RunContext& context) {
    std::uint64_t sizeX = 0, sizeY = 0;
    for (const DynamicSplitPtr& s : splits()) {
        if (s->getSizeX() == 0) continue;
        if (sizeX != 0 && (s->getSizeX() != sizeX || s->getSizeY() != sizeY))
            return BoolResult::failure((boost::format("Strip dispatch: images of %dx%d and %dx%d cannot be cut "
                                                      "into the same strips") %
                                        sizeX % sizeY % s->getSizeX() % s->getSizeY())
                                           .str());
        sizeX = s->getSizeX(), sizeY = s->getSizeY();
    }
    if (sizeY == 0) return BoolResult::success();
    const std::uint64_t height = image::chooseStripHeight(sizeX, sizeY, context.getPolicy().getStripTargetElements());
    const std::uint64_t strips = (sizeY + height - 1) / height;

    return parallelFor(context, strips, [&](std::uint64_t begin, std::uint64_t end) {
        // One level-3 processor per chunk of strips; its attributes are resolved once.
        ProcessorPtr p = createProcessor();
        BoolResult r = p->init(eRulePolicy::eRulesOff);
        if (!r) return r;
        std::vector<AttributePtr> targets;
        targets.reserve(splits().size());
        for (const DynamicSplitPtr& s : splits()) {
            AttributePtr a = s->resolve(*p);
            if (!a) return BoolResult::failure(p->getObjectName() + ": a strip split has no matching attribute");
            targets.push_back(std::move(a));
        }
        for (std::uint64_t k = begin; k < end; ++k) {
            if (context.isCancellationRequested()) break;
            const std::uint64_t startY = k * height;
            const std::uint64_t rows = std::min(height, sizeY - startY);
            for (std::size_t j = 0; j < splits().size(); ++j) splits()[j]->assign(*targets[j], startY, rows);
            r = p->execute(context);
            if (!r) return r;
        }
        return BoolResult::success();
    });
}

}  // namespace vimra::processor
