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
        if (!m_image) return;
        const image::ImageView::Box box = subImageBox(*m_image, m_type, index);
        // A sub-image that is the whole image (a 2d plane cut from a 2d image) needs no view.
        if (box.sizeZ == m_image->getSizeZ() && box.sizeC == m_image->getSizeC() && box.sizeT == m_image->getSizeT())
            target.set<Attr>(m_image);
        else
            target.set<Attr>(image::ImageView::create(m_image, box));
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
/// The axis a sub-image is cut along: bands of rows of a plane, or bands of
/// planes of a volume.
struct eStripAxis {
    enum domain { eY = 0, eZ = 1 };
};

/// A split that cuts a sub-image into strips for a level-3 attribute.
class BaseDynamicSplit {
public:
    virtual ~BaseDynamicSplit() = default;
    /// False for no-splits, which fit any size and take no part in cutting.
    virtual bool hasExtent() const = 0;
    /// The sub-image being cut; only called when hasExtent().
    virtual std::uint64_t getSizeX() const = 0;
    virtual std::uint64_t getSizeY() const = 0;
    virtual std::uint64_t getSizeZ() const = 0;
    virtual eStripAxis::domain getAxis() const = 0;
    /// The level-3 attribute this split feeds.
    virtual const char* getAttributeName() const = 0;
    /// The attribute of `target` this split feeds; looked up once per processor.
    virtual AttributePtr resolve(BaseProcessor& target) const = 0;
    /// Gives rows (y axis) or planes (z axis) [start, start + count) to the attribute.
    virtual void assign(BaseAttribute& attribute, std::uint64_t start, std::uint64_t count) const = 0;
};
using DynamicSplitPtr = boost::shared_ptr<BaseDynamicSplit>;

[[noreturn]] void throwMissingImage(const char* attributeName);

/// What every image split shares: the image, its attribute and its axis.
template <class Image, class Attr, eStripAxis::domain Axis>
class BaseImageStripSplit : public BaseDynamicSplit {
public:
    using ImageHandle = boost::shared_ptr<Image>;
    bool hasExtent() const override { return true; }
    std::uint64_t getSizeX() const override { return m_image->getSizeX(); }
    std::uint64_t getSizeY() const override { return m_image->getSizeY(); }
    std::uint64_t getSizeZ() const override { return m_image->getSizeZ(); }
    eStripAxis::domain getAxis() const override { return Axis; }
    const char* getAttributeName() const override { return Attr::s_name; }
    AttributePtr resolve(BaseProcessor& target) const override { return target.findAttribute<Attr>(); }
    /// Throws VIMRABaseProcessingException for a null image: a split is only
    /// built over an image that is there.
    void setImage(ImageHandle image) {
        if (!image) throwMissingImage(Attr::s_name);
        m_image = std::move(image);
    }

protected:
    Image& image() const { return *m_image; }

private:
    ImageHandle m_image;
};

/// Cuts an image (`Image` is `const image::BaseImage` for inputs) into strips
/// along `Axis`, each a view of the image.
template <class Image, class Attr, eStripAxis::domain Axis>
class ImageViewStripSplit : public BaseImageStripSplit<Image, Attr, Axis> {
public:
    using Strip = typename Attr::value_type;
    void initBase(boost::shared_ptr<Image> image, unsigned allocation, unsigned dirX, unsigned dirY) {
        (void)allocation, (void)dirX, (void)dirY;
        this->setImage(std::move(image));
    }
    void assign(BaseAttribute& attribute, std::uint64_t start, std::uint64_t count) const override {
        static_cast<Attr&>(attribute).init(Strip(this->image(), start, count));
    }
};

/// Cuts a 2d image into y strips (bands of rows).
template <class Lvl3, class Image, class Attr>
class ImageYStrip2dSplit final : public ImageViewStripSplit<Image, Attr, eStripAxis::eY> {};

/// Cuts a 3d volume into z strips (bands of whole planes).
template <class Lvl3, class Image, class Attr>
class ImageZStrip3dSplit final : public ImageViewStripSplit<Image, Attr, eStripAxis::eZ> {};

/// Cuts a 2d input image into y strips read through a neighbourhood of
/// `kernelSizeX` columns and `kernelSizeY` rows on each side.
template <class Lvl3, class Attr>
class ImageYStrip2dWithKernelSplit final
    : public BaseImageStripSplit<const image::BaseImage, Attr, eStripAxis::eY> {
public:
    using Strip = typename Attr::value_type;
    void initBase(image::ConstImagePtr image, std::uint64_t kernelSizeX, std::uint64_t kernelSizeY,
                  unsigned allocation = 0) {
        (void)allocation;
        this->setImage(std::move(image));
        m_kx = kernelSizeX, m_ky = kernelSizeY;
    }
    void assign(BaseAttribute& attribute, std::uint64_t start, std::uint64_t count) const override {
        static_cast<Attr&>(attribute).init(Strip(this->image(), start, count, m_kx, m_ky));
    }

private:
    std::uint64_t m_kx = 0, m_ky = 0;
};

/// Cuts a 3d input volume into z strips read through a neighbourhood.
template <class Lvl3, class Attr>
class ImageZStrip3dWithKernelSplit final
    : public BaseImageStripSplit<const image::BaseImage, Attr, eStripAxis::eZ> {
public:
    using Strip = typename Attr::value_type;
    void initBase(image::ConstImagePtr image, std::uint64_t kernelSizeX, std::uint64_t kernelSizeY,
                  std::uint64_t kernelSizeZ, unsigned allocation = 0) {
        (void)allocation;
        this->setImage(std::move(image));
        m_kx = kernelSizeX, m_ky = kernelSizeY, m_kz = kernelSizeZ;
    }
    void assign(BaseAttribute& attribute, std::uint64_t start, std::uint64_t count) const override {
        static_cast<Attr&>(attribute).init(Strip(this->image(), start, count, m_kx, m_ky, m_kz));
    }

private:
    std::uint64_t m_kx = 0, m_ky = 0, m_kz = 0;
};

/// Hands the same value to every strip run.
template <class Attr>
class DynamicNoSplit final : public BaseDynamicSplit {
public:
    void initBase(const typename Attr::value_type& value) { m_value = value; }
    bool hasExtent() const override { return false; }
    std::uint64_t getSizeX() const override { return 0; }
    std::uint64_t getSizeY() const override { return 0; }
    std::uint64_t getSizeZ() const override { return 0; }
    eStripAxis::domain getAxis() const override { return eStripAxis::eY; }
    const char* getAttributeName() const override { return Attr::s_name; }
    AttributePtr resolve(BaseProcessor& target) const override { return target.findAttribute<Attr>(); }
    void assign(BaseAttribute& attribute, std::uint64_t, std::uint64_t) const override {
        static_cast<Attr&>(attribute).setValue(m_value);
    }

private:
    typename Attr::value_type m_value{};
};

/// Runs level-3 processors over strips on the worker threads. Strip heights keep
/// every strip but the last of a multiple of 64 elements, so vector kernels that
/// overrun their strip never touch another strip's pixels. One level-3 processor
/// is created per scheduled chunk and reused for its strips; its rule (if any)
/// is checked on the chunk's first strip. Work below the policy's parallel
/// threshold runs on the calling thread.
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
