#pragma once

#include <vimra/image/BaseImage.h>
#include <vimra/image/Strip.h>
#include <vimra/processor/FunctionSelector.h>

#include <boost/shared_ptr.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace vimra::core {
class BaseOArchive;
class BaseIArchive;
}  // namespace vimra::core

namespace vimra::processor {

/// A closed interval of values; bounds are stored as double.
struct Range {
    double Min = 0.0;
    double Max = 0.0;
    bool operator==(const Range&) const = default;
};

/// A named, typed slot of a processor: an input or output image, a strip, or a value.
class BaseAttribute {
public:
    virtual ~BaseAttribute() = default;
    virtual const char* getName() const = 0;
    virtual bool isInput() const = 0;
    virtual bool isMandatory() const = 0;
    virtual bool isSet() const = 0;
    virtual void clear() = 0;
    /// Serialises the attribute's state: values with their value, images by description.
    virtual void write(core::BaseOArchive& archive) const;
    virtual void read(core::BaseIArchive& archive);
};

using AttributePtr = boost::shared_ptr<BaseAttribute>;
using AttributeColl = std::vector<AttributePtr>;

/// Attribute holding an image (host or GPU).
class BaseImageAttribute : public BaseAttribute {
public:
    /// The image held, or null.
    virtual const image::BaseImage* getImage() const = 0;
    bool isSet() const override { return getImage() != nullptr; }
    void write(core::BaseOArchive& archive) const override;
    void read(core::BaseIArchive& archive) override;
};

class BaseInputImageAttribute : public BaseImageAttribute {
public:
    using value_type = image::ConstImagePtr;
    bool isInput() const override { return true; }
    void setValue(value_type v) { m_value = std::move(v); }
    const value_type& getValue() const { return m_value; }
    const image::BaseImage* getImage() const override { return m_value.get(); }
    void clear() override { m_value.reset(); }

private:
    value_type m_value;
};

class BaseOutputImageAttribute : public BaseImageAttribute {
public:
    using value_type = image::ImagePtr;
    bool isInput() const override { return false; }
    bool isMandatory() const override { return false; }
    void setValue(value_type v) { m_value = std::move(v); }
    const value_type& getValue() const { return m_value; }
    const image::BaseImage* getImage() const override { return m_value.get(); }
    void clear() override { m_value.reset(); }

private:
    value_type m_value;
};

/// Value attribute: a double, float, Range, buffer type, ...
template <class T>
class BaseValueAttribute : public BaseAttribute {
public:
    using value_type = T;
    bool isInput() const override { return true; }
    bool isSet() const override { return m_set; }
    void clear() override {
        m_set = false;
        m_value = T{};
    }
    void setValue(const T& v) {
        m_value = v;
        m_set = true;
    }
    const T& getValue() const { return m_value; }
    /// Appends `value` as the kernels read it (a Range as Min, Max).
    static void appendKernelParams(KernelParams& params, const T& value) {
        if constexpr (std::is_same_v<T, Range>) {
            params.push(value.Min);
            params.push(value.Max);
        } else {
            params.push(static_cast<double>(value));
        }
    }
    void write(core::BaseOArchive& archive) const override;
    void read(core::BaseIArchive& archive) override;

private:
    T m_value{};
    bool m_set = false;
};

/// What a level-3 processor reads of any strip attribute, whatever the strip's
/// kind (y strip of a plane, z strip of a volume, with or without margins): the
/// first element, the buffer type and where the strip lies.
class BaseImageStripAttribute : public BaseAttribute {
public:
    /// First element of the strip (the strip's own first row, margins excluded).
    virtual const void* getStripData() const = 0;
    /// The same element, writable; null for input strips.
    virtual void* getOutputStripData() const = 0;
    virtual image::eImageBufferType::domain getImageBufferType() const = 0;
    /// Fills count, sizeX, rows, planes, planeStride, startY and startZ.
    virtual void describe(ProcessingInfo& info) const = 0;
    /// False when the strip's memory may end at its last element (caller memory
    /// without padding): vector kernels must not step past it.
    virtual bool hasVectorPadding() const = 0;
};

namespace detail {
void describeStrip(const image::BaseImageYStrip2d& strip, ProcessingInfo& info);
void describeStrip(const image::BaseImageZStrip3d& strip, ProcessingInfo& info);
}  // namespace detail

/// A strip of a level-3 processor (the strip classes are views, cheap to copy).
template <class Strip, bool Input>
class BaseStripAttribute : public BaseImageStripAttribute {
public:
    using value_type = Strip;
    bool isInput() const override { return Input; }
    bool isMandatory() const override { return true; }
    bool isSet() const override { return m_set; }
    void clear() override { m_set = false; }
    void init(const value_type& strip) {
        m_strip = strip;
        m_set = true;
    }
    void setValue(const value_type& strip) { init(strip); }
    const value_type& getValue() const { return m_strip; }
    const value_type& getStrip() const { return m_strip; }
    image::eImageBufferType::domain getImageBufferType() const override { return m_strip.getImageBufferType(); }
    const void* getStripData() const override { return m_strip.getData(); }
    void* getOutputStripData() const override {
        if constexpr (Input) {
            return nullptr;
        } else {
            return m_strip.getData();
        }
    }
    void describe(ProcessingInfo& info) const override { detail::describeStrip(m_strip, info); }
    bool hasVectorPadding() const override { return m_strip.hasVectorPadding(); }

private:
    value_type m_strip;
    bool m_set = false;
};

class BaseInputYStrip2dAttribute : public BaseStripAttribute<image::InputImageYStrip2d, true> {};
class BaseOutputYStrip2dAttribute : public BaseStripAttribute<image::OutputImageYStrip2d, false> {};
class BaseInputZStrip3dAttribute : public BaseStripAttribute<image::InputImageZStrip3d, true> {};
class BaseOutputZStrip3dAttribute : public BaseStripAttribute<image::OutputImageZStrip3d, false> {};
class BaseInputYStrip2dWithKernelAttribute
    : public BaseStripAttribute<image::InputImageYStrip2dWithKernel, true> {};
class BaseInputZStrip3dWithKernelAttribute
    : public BaseStripAttribute<image::InputImageZStrip3dWithKernel, true> {};

/// Compile-time attribute name, so that each named attribute is its own type.
template <std::size_t N>
struct AttributeName {
    constexpr AttributeName(const char (&s)[N]) { std::copy_n(s, N, value); }
    char value[N];
};

/// Attributes whose name starts with "InOpt" are optional.
template <std::size_t N>
constexpr bool isOptionalName(const AttributeName<N>& n) {
    return N > 6 && n.value[0] == 'I' && n.value[1] == 'n' && n.value[2] == 'O' && n.value[3] == 'p' &&
           n.value[4] == 't';
}

/// A concrete attribute: a base kind plus its name (`Attribute<"InImg1", BaseInputImageAttribute>`).
template <AttributeName Name, class Base>
class Attribute final : public Base {
public:
    static constexpr const char* s_name = Name.value;
    const char* getName() const override { return Name.value; }
    bool isMandatory() const override {
        if constexpr (std::is_base_of_v<BaseOutputImageAttribute, Base>) {
            return false;
        } else {
            return !isOptionalName(Name);
        }
    }
};

}  // namespace vimra::processor

namespace vimra::imaproc::attr {

using processor::Attribute;
using processor::BaseInputImageAttribute;
using processor::BaseInputYStrip2dAttribute;
using processor::BaseOutputImageAttribute;
using processor::BaseOutputYStrip2dAttribute;
using processor::BaseInputZStrip3dAttribute;
using processor::BaseOutputZStrip3dAttribute;
using processor::BaseInputYStrip2dWithKernelAttribute;
using processor::BaseInputZStrip3dWithKernelAttribute;
using processor::BaseValueAttribute;

// Images of level-1 processors.
using InImg = Attribute<"InImg", BaseInputImageAttribute>;
using InImg1 = Attribute<"InImg1", BaseInputImageAttribute>;
using InImg2 = Attribute<"InImg2", BaseInputImageAttribute>;
using InImg3 = Attribute<"InImg3", BaseInputImageAttribute>;
using InImg4 = Attribute<"InImg4", BaseInputImageAttribute>;
using InRealImg = Attribute<"InRealImg", BaseInputImageAttribute>;
using InXImg = Attribute<"InXImg", BaseInputImageAttribute>;
using InYImg = Attribute<"InYImg", BaseInputImageAttribute>;
using InRhoImg = Attribute<"InRhoImg", BaseInputImageAttribute>;
using InThetaImg = Attribute<"InThetaImg", BaseInputImageAttribute>;
using OutImg = Attribute<"OutImg", BaseOutputImageAttribute>;
using OutImg1 = Attribute<"OutImg1", BaseOutputImageAttribute>;
using OutImg2 = Attribute<"OutImg2", BaseOutputImageAttribute>;
using OutRhoImg = Attribute<"OutRhoImg", BaseOutputImageAttribute>;
using OutThetaImg = Attribute<"OutThetaImg", BaseOutputImageAttribute>;
using OutXImg = Attribute<"OutXImg", BaseOutputImageAttribute>;
using OutYImg = Attribute<"OutYImg", BaseOutputImageAttribute>;

// Sub-images of level-2 processors.
using InSubImg2d = Attribute<"InSubImg2d", BaseInputImageAttribute>;
using InSubImg2d1 = Attribute<"InSubImg2d1", BaseInputImageAttribute>;
using InSubImg2d2 = Attribute<"InSubImg2d2", BaseInputImageAttribute>;
using InSubImg2d3 = Attribute<"InSubImg2d3", BaseInputImageAttribute>;
using InSubImg2d4 = Attribute<"InSubImg2d4", BaseInputImageAttribute>;
using InSubImg3d = Attribute<"InSubImg3d", BaseInputImageAttribute>;
using InSubImg3d1 = Attribute<"InSubImg3d1", BaseInputImageAttribute>;
using InSubImg3d2 = Attribute<"InSubImg3d2", BaseInputImageAttribute>;
using InSubImg3d3 = Attribute<"InSubImg3d3", BaseInputImageAttribute>;
using InSubGpuImg = Attribute<"InSubGpuImg", BaseInputImageAttribute>;
using InSubGpuImg1 = Attribute<"InSubGpuImg1", BaseInputImageAttribute>;
using InSubGpuImg2 = Attribute<"InSubGpuImg2", BaseInputImageAttribute>;
using InSubGpuImg3 = Attribute<"InSubGpuImg3", BaseInputImageAttribute>;
using InSubGpuImg4 = Attribute<"InSubGpuImg4", BaseInputImageAttribute>;

// Strips of level-3 processors.
using InYStrip2d = Attribute<"InYStrip2d", BaseInputYStrip2dAttribute>;
using InYStrip2d1 = Attribute<"InYStrip2d1", BaseInputYStrip2dAttribute>;
using InYStrip2d2 = Attribute<"InYStrip2d2", BaseInputYStrip2dAttribute>;
using InYStrip2d3 = Attribute<"InYStrip2d3", BaseInputYStrip2dAttribute>;
using InYStrip2d4 = Attribute<"InYStrip2d4", BaseInputYStrip2dAttribute>;
using InYStrip2d5 = Attribute<"InYStrip2d5", BaseInputYStrip2dAttribute>;
using InZStrip3d = Attribute<"InZStrip3d", BaseInputZStrip3dAttribute>;
using InZStrip3d1 = Attribute<"InZStrip3d1", BaseInputZStrip3dAttribute>;
using InZStrip3d2 = Attribute<"InZStrip3d2", BaseInputZStrip3dAttribute>;
using InZStrip3d3 = Attribute<"InZStrip3d3", BaseInputZStrip3dAttribute>;
using OutZStrip3d = Attribute<"OutZStrip3d", BaseOutputZStrip3dAttribute>;
using OutZStrip3d1 = Attribute<"OutZStrip3d1", BaseOutputZStrip3dAttribute>;
using OutZStrip3d2 = Attribute<"OutZStrip3d2", BaseOutputZStrip3dAttribute>;
using OutYStrip2d = Attribute<"OutYStrip2d", BaseOutputYStrip2dAttribute>;
using OutYStrip2d1 = Attribute<"OutYStrip2d1", BaseOutputYStrip2dAttribute>;
using OutYStrip2d2 = Attribute<"OutYStrip2d2", BaseOutputYStrip2dAttribute>;

// Values.
using InArithmeticVal = Attribute<"InArithmeticVal", BaseValueAttribute<double>>;
using InFactor = Attribute<"InFactor", BaseValueAttribute<double>>;
using InOffset = Attribute<"InOffset", BaseValueAttribute<double>>;
using InFactor1 = Attribute<"InFactor1", BaseValueAttribute<float>>;
using InFactor2 = Attribute<"InFactor2", BaseValueAttribute<float>>;
using InOptBlendMultiplier = Attribute<"InOptBlendMultiplier", BaseValueAttribute<float>>;
using InOutputRange = Attribute<"InOutputRange", BaseValueAttribute<processor::Range>>;
using InConvertImageBufferType =
    Attribute<"InConvertImageBufferType", BaseValueAttribute<image::eImageBufferType::domain>>;

}  // namespace vimra::imaproc::attr
