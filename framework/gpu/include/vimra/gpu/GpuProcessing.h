#pragma once

// The processing framework's GPU side: the split that hands whole GPU-resident
// sub-images to a GPU level-3 processor, the base of such processors, the
// selector of typed launchers, and the decision whether a level 2 may take the
// GPU path.

#include <vimra/gpu/CudaImage.h>
#include <vimra/gpu/GpuLaunch.h>

#include <vimra/processor/Dispatcher.h>
#include <vimra/processor/FunctionSelector.h>
#include <vimra/processor/ProcessorClass.h>

#include <unordered_map>

namespace vimra::gpu {

/// A sub-image split for GPU images: whole sub-images, never strips (a kernel
/// launch covers a sub-image). Refuses a host image when it is set up.
template <class Target, class Attr>
class CudaSubImageSplit final : public processor::BaseStaticSplit {
public:
    void initBase(unsigned splitType, typename Attr::value_type image) {
        if (image && !image->isGpuImage())
            throw processor::VIMRABaseProcessingException(
                std::string("CudaSubImageSplit of ") + Attr::s_name + " takes GPU images only", "vimra::gpu");
        m_split.initBase(splitType, 0, 0, 0, std::move(image));
    }
    std::uint64_t getCount() const override { return m_split.getCount(); }
    void assign(processor::BaseProcessor& target, std::uint64_t index) const override { m_split.assign(target, index); }

private:
    processor::SubImageSplit<Target, Attr> m_split;
};

/// True when a level 2 may run on the GPU: support is activated and every set
/// image is a GPU image. Images are passed as raw pointers, null for unset ones.
bool gpuPathApplies(std::initializer_list<const image::BaseImage*> images);

/// Typed launchers of a GPU level-3 class, keyed by the buffer types of its
/// images (inputs, then outputs), as the processor kernels are.
template <class Launcher>
class CudaFunctionSelector {
public:
    void registerFunction(const processor::DataTypeIdentifierColl& key, Launcher launcher) {
        m_launchers[key.getKey()] = launcher;
    }
    Launcher select(const processor::DataTypeIdentifierColl& key) const {
        auto it = m_launchers.find(key.getKey());
        return it == m_launchers.end() ? nullptr : it->second;
    }
    std::size_t size() const { return m_launchers.size(); }

private:
    std::unordered_map<std::uint64_t, Launcher> m_launchers;
};
using CudaFunctionIdentifier = processor::DataTypeIdentifierColl;

/// Base of GPU level-3 processors: a whole sub-image per run, on one device.
/// preProcess selects the device of the images; process launches; postProcess
/// is the place for work after the (synchronised) launch.
class BaseGpuProcessingAlgorithm : public processor::BaseAsync1Processor {
public:
    std::int32_t getDeviceIndex() const { return m_deviceIndex; }

    /// Launch information for `image` on this processor's device.
    LauncherInfo makeLauncherInfo(const image::BaseImage& image) const;

protected:
    virtual processor::BoolResult preProcess();
    virtual processor::BoolResult process() = 0;
    virtual processor::BoolResult postProcess();
    /// The first set GPU image decides the device.
    virtual const image::BaseImage* deviceImage() const = 0;

    processor::BoolResult runDerived(processor::RunContext& context) override;

    std::int32_t m_deviceIndex = 0;
};

}  // namespace vimra::gpu
