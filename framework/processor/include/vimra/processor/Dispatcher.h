#pragma once

#include <vimra/image/BaseImage.h>
#include <vimra/image/Strip.h>
#include <vimra/processor/Processor.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vimra::processor {

// ---- static (sub-image) splits ---------------------------------------------------------

/// How an image is cut into sub-images.
///   ePlane2d     one 2d sub-image per plane, channel and time step
///   eColor2d     one multi-channel 2d sub-image per plane and time step
///   eSequence2d  one 2d sequence per plane and channel
///   eVolume3d    one 3d volume per channel and time step
///   eColor3d     one multi-channel 3d volume per time step
struct eSubImageSplitType {
    enum domain { ePlane2d = 0, eColor2d = 1, eSequence2d = 2, eVolume3d = 3, eColor3d = 4 };
};
/// Orders in which sub-images are produced (only the natural order exists).
struct eVolumeParsingType {
    enum domain { eForward = 0 };
};
struct eColorParsingType {
    enum domain { eForward = 0 };
};
struct eTemporalParsingType {
    enum domain { eForward = 0 };
};

/// The box of planes of sub-image `index` for a split type.
image::ImageView::Box subImageBox(const image::BaseImage& image, eSubImageSplitType::domain type,
                                  std::uint64_t index);
std::uint64_t subImageCount(const image::BaseImage& image, eSubImageSplitType::domain type);

/// A split that hands one part of its data to each sub-run.
class BaseStaticSplit {
public:
    virtual ~BaseStaticSplit() = default;
    /// Number of parts; every split of a dispatcher must agree, except
    /// no-splits, which report 0 and feed every part.
    virtual std::uint64_t getCount() const = 0;
    virtual void assign(BaseProcessor& target, std::uint64_t index) const = 0;
};
using StaticSplitPtr = boost::shared_ptr<BaseStaticSplit>;

/// Cuts one image into sub-images for the attribute `Attr` of the level-2 class.
template <class Lvl2, class Attr>
class SubImageSplit final : public BaseStaticSplit {
public:
    using ImageHandle = typename Attr::value_type;  // ConstImagePtr or ImagePtr

    void initBase(unsigned splitType, unsigned volumeParsing, unsigned colorParsing, unsigned temporalParsing,
                  ImageHandle image) {
        (void)volumeParsing, (void)colorParsing, (void)temporalParsing;
        m_type = static_cast<eSubImageSplitType::domain>(splitType);
        m_image = std::move(image);
    }
    std::uint64_t getCount() const override { return m_image ? subImageCount(*m_image, m_type) : 0; }
    void assign(BaseProcessor& target, std::uint64_t index) const override {
        target.set<Attr>(image::ImageView::create(m_image, subImageBox(*m_image, m_type, index)));
    }

private:
    eSubImageSplitType::domain m_type = eSubImageSplitType::ePlane2d;
    ImageHandle m_image;
};

/// Hands the same value to every sub-run (scalars, options).
template <class Attr>
class StaticNoSplit final : public BaseStaticSplit {
public:
    void initBase(const typename Attr::value_type& value) { m_value = value; }
    std::uint64_t getCount() const override { return 0; }
    void assign(BaseProcessor& target, std::uint64_t) const override { target.set<Attr>(m_value); }

private:
    typename Attr::value_type m_value{};
};

/// What both dispatchers share: a priority, their splits and a factory of sub-run processors.
template <class SplitPtr>
class BaseProcessorDispatcher : public BaseProvider {
public:
    void initBase(unsigned priority, std::vector<SplitPtr> splits) {
        m_priority = priority;
        m_splits = std::move(splits);
    }
    unsigned getPriority() const { return m_priority; }

protected:
    virtual ProcessorPtr createProcessor() const = 0;
    const std::vector<SplitPtr>& splits() const { return m_splits; }

private:
    unsigned m_priority = 0;
    std::vector<SplitPtr> m_splits;
};

/// Runs one level-2 processor per sub-image, in parallel.
class BaseStaticProcessorDispatcher : public BaseProcessorDispatcher<StaticSplitPtr> {
public:
    BoolResult run(RunContext& context) override;
};

template <class Lvl2>
class StaticProcessorDispatcher final : public BaseStaticProcessorDispatcher {
protected:
    ProcessorPtr createProcessor() const override { return boost::make_shared<Lvl2>(); }
};

// ---- dynamic (strip) splits ---------------------------------------------------------------

struct eStripAllocationType {
    enum domain { eView = 0 };  ///< strips point into the image's storage
};
struct eStripParsingDirection {
    enum domain { eForward = 0 };
};

/// A split that cuts a 2d sub-image into bands of rows for a level-3 attribute.
class BaseDynamicSplit {
public:
    virtual ~BaseDynamicSplit() = default;
    /// Plane size of the sub-image (0 x 0 for no-splits, which fit any size).
    virtual std::uint64_t getSizeX() const = 0;
    virtual std::uint64_t getSizeY() const = 0;
    /// The attribute of `target` this split feeds; looked up once per processor.
    virtual AttributePtr resolve(BaseProcessor& target) const = 0;
    /// Gives rows [startY, startY + rows) to the attribute returned by resolve.
    virtual void assign(BaseAttribute& attribute, std::uint64_t startY, std::uint64_t rows) const = 0;
};
using DynamicSplitPtr = boost::shared_ptr<BaseDynamicSplit>;

/// Cuts a 2d image (`Image` is `const image::BaseImage` for inputs) into y strips.
template <class Lvl3, class Image, class Attr>
class ImageYStrip2dSplit final : public BaseDynamicSplit {
public:
    using ImageHandle = boost::shared_ptr<Image>;
    using Strip = typename Attr::value_type;

    void initBase(ImageHandle image, unsigned allocation, unsigned dirX, unsigned dirY) {
        (void)allocation, (void)dirX, (void)dirY;
        m_image = std::move(image);
    }
    std::uint64_t getSizeX() const override { return m_image->getSizeX(); }
    std::uint64_t getSizeY() const override { return m_image->getSizeY(); }
    AttributePtr resolve(BaseProcessor& target) const override { return target.findAttribute<Attr>(); }
    void assign(BaseAttribute& attribute, std::uint64_t startY, std::uint64_t rows) const override {
        static_cast<Attr&>(attribute).init(Strip(*m_image, startY, rows));
    }

private:
    ImageHandle m_image;
};

/// Hands the same value to every strip run.
template <class Attr>
class DynamicNoSplit final : public BaseDynamicSplit {
public:
    void initBase(const typename Attr::value_type& value) { m_value = value; }
    std::uint64_t getSizeX() const override { return 0; }
    std::uint64_t getSizeY() const override { return 0; }
    AttributePtr resolve(BaseProcessor& target) const override { return target.findAttribute<Attr>(); }
    void assign(BaseAttribute& attribute, std::uint64_t, std::uint64_t) const override {
        static_cast<Attr&>(attribute).setValue(m_value);
    }

private:
    typename Attr::value_type m_value{};
};

/// Runs level-3 processors over strips of rows on the worker threads. Strip
/// heights keep every strip but the last of a multiple of 64 elements, so vector
/// kernels that overrun their strip never touch another strip's pixels. One
/// level-3 processor is created per scheduled chunk and reused for its strips.
class BaseDynamicProcessorDispatcher : public BaseProcessorDispatcher<DynamicSplitPtr> {
public:
    BoolResult run(RunContext& context) override;
};

template <class Lvl3>
class DynamicProcessorDispatcher final : public BaseDynamicProcessorDispatcher {
protected:
    ProcessorPtr createProcessor() const override { return boost::make_shared<Lvl3>(); }
};

/// Runs `body(i)` for i in [0, count) on the worker threads, honouring the run's
/// worker cap and cancellation. The first failure (or exception, turned into a
/// failure) cancels the remaining iterations and is returned.
BoolResult parallelFor(RunContext& context, std::uint64_t count, const std::function<BoolResult(std::uint64_t begin, std::uint64_t end)>& body);

}  // namespace vimra::processor
