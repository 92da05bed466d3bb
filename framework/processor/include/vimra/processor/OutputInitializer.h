#pragma once

#include <vimra/processor/Attribute.h>
#include <vimra/processor/Promotion.h>
#include <vimra/processor/Result.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vimra::processor {

struct eImageInitializerStoragePolicy {
    enum domain { eHostMemory = 0 };  ///< plain host image, pixels left uninitialised
};
struct eImageInitializerDistributionPolicy {
    enum domain { eSingleBuffer = 0 };  ///< one buffer for the whole image
};

/// Creates a processor's missing output image before a run. Acts only when the
/// output attribute holds no image; refers to attributes weakly.
class BaseOutputInitializer {
public:
    virtual ~BaseOutputInitializer() = default;
    /// Builds the output description from the inputs and allocates the output.
    virtual BoolResult init() = 0;
};

using OutputInitializerPtr = boost::shared_ptr<BaseOutputInitializer>;
/// Output attribute name -> its initialiser.
using OutputInitializerMap = std::map<std::string, OutputInitializerPtr>;

using InputImageRef = boost::weak_ptr<BaseInputImageAttribute>;
using OutputImageRef = boost::weak_ptr<BaseOutputImageAttribute>;

class PromoteUnaryImageInitializer final : public BaseOutputInitializer {
public:
    PromoteUnaryImageInitializer(OutputImageRef out, InputImageRef in, ePromoteUnaryType::domain rule)
        : m_out(std::move(out)), m_in(std::move(in)), m_rule(rule) {}
    BoolResult init() override;

private:
    OutputImageRef m_out;
    InputImageRef m_in;
    ePromoteUnaryType::domain m_rule;
};

class PromoteBinaryImageInitializer final : public BaseOutputInitializer {
public:
    /// `largerGeometry`: the output takes the geometry of whichever input has more
    /// planes (images of different geometry); otherwise that of the first input.
    PromoteBinaryImageInitializer(OutputImageRef out, InputImageRef in1, InputImageRef in2,
                                  ePromoteBinaryType::domain rule, bool largerGeometry)
        : m_out(std::move(out)), m_in1(std::move(in1)), m_in2(std::move(in2)), m_rule(rule),
          m_largerGeometry(largerGeometry) {}
    BoolResult init() override;

private:
    OutputImageRef m_out;
    InputImageRef m_in1, m_in2;
    ePromoteBinaryType::domain m_rule;
    bool m_largerGeometry;
};

class DuplicateImageInitializer final : public BaseOutputInitializer {
public:
    /// Copy of the input's description.
    DuplicateImageInitializer(OutputImageRef out, InputImageRef in, eImageInitializerStoragePolicy::domain storage)
        : m_out(std::move(out)), m_in(std::move(in)) {
        (void)storage;
    }
    /// The input's geometry with a fixed buffer type.
    DuplicateImageInitializer(OutputImageRef out, InputImageRef in, image::eImageBufferType::domain type,
                              eImageInitializerDistributionPolicy::domain distribution)
        : m_out(std::move(out)), m_in(std::move(in)), m_fixedType(true), m_type(type) {
        (void)distribution;
    }
    BoolResult init() override;

private:
    OutputImageRef m_out;
    InputImageRef m_in;
    bool m_fixedType = false;
    image::eImageBufferType::domain m_type = image::eImageBufferType::eFloat;
};

using BufferTypeAttribute = BaseValueAttribute<image::eImageBufferType::domain>;

class TypedDuplicateImageInitializer final : public BaseOutputInitializer {
public:
    TypedDuplicateImageInitializer(OutputImageRef out, InputImageRef in, boost::weak_ptr<BufferTypeAttribute> type,
                                   eImageInitializerStoragePolicy::domain storage)
        : m_out(std::move(out)), m_in(std::move(in)), m_type(std::move(type)) {
        (void)storage;
    }
    BoolResult init() override;

private:
    OutputImageRef m_out;
    InputImageRef m_in;
    boost::weak_ptr<BufferTypeAttribute> m_type;
};

/// Description of a custom output, computed by the algorithm at initialisation
/// time: the buffer type and the geometry of the image to create, usually taken
/// from one of the algorithm's inputs. Queries may throw; the initialiser's run
/// turns that into a failure.
class BaseCustomImageInfo {
public:
    virtual ~BaseCustomImageInfo() = default;
    virtual bool isOutputInitNeeded() const { return true; }
    virtual image::eImageBufferType::domain getImageBufferType() const = 0;
    virtual std::vector<image::eImageBufferType::domain> getImageBufferTypeVector() const {
        return {getImageBufferType()};
    }
    virtual std::uint64_t getSizeX() const = 0;
    virtual std::uint64_t getSizeY() const = 0;
    virtual image::VolumeGeometry getVolumeGeometry() const = 0;
    virtual image::ColorGeometry getColorGeometry() const = 0;
    virtual image::TemporalGeometry getTemporalGeometry() const = 0;
    virtual eImageInitializerDistributionPolicy::domain getImageInitializerDistributionPolicy() const {
        return eImageInitializerDistributionPolicy::eSingleBuffer;
    }
    virtual bool hasInputImage() const = 0;
    virtual image::ConstImagePtr getInputImage() const = 0;

    /// The description assembled from the queries above.
    virtual ProcessingResult<image::ImageDescription> computeDescription() const;

    bool isInitialized() const { return m_initialized; }

protected:
    void initBase() { m_initialized = true; }
    /// Logs and throws VIMRAImageProcessingException when initBase() has not run;
    /// `function` names the query in the exception's context.
    void checkInitialized(const char* function) const;
    /// Throws VIMRABaseProcessingException: an attribute the description is read
    /// from has been released.
    [[noreturn]] static void throwExpiredAttribute(const char* function);

private:
    bool m_initialized = false;
};

class CustomImageInitializer final : public BaseOutputInitializer {
public:
    CustomImageInitializer(OutputImageRef out, boost::shared_ptr<const BaseCustomImageInfo> info)
        : m_out(std::move(out)), m_info(std::move(info)) {}
    BoolResult init() override;

private:
    OutputImageRef m_out;
    boost::shared_ptr<const BaseCustomImageInfo> m_info;
};

// Factories. Each takes the attributes as weak or shared pointers.

template <class Out, class In>
OutputInitializerPtr promoteUnary(const boost::weak_ptr<Out>& out, const boost::weak_ptr<In>& in,
                                  ePromoteUnaryType::domain rule) {
    return boost::make_shared<PromoteUnaryImageInitializer>(OutputImageRef(out), InputImageRef(in), rule);
}
template <class Out, class In>
OutputInitializerPtr promoteUnary(const boost::shared_ptr<Out>& out, const boost::shared_ptr<In>& in,
                                  ePromoteUnaryType::domain rule) {
    return promoteUnary(boost::weak_ptr<Out>(out), boost::weak_ptr<In>(in), rule);
}

template <class Out, class In1, class In2>
OutputInitializerPtr promoteBinary(const boost::weak_ptr<Out>& out, const boost::weak_ptr<In1>& in1,
                                   const boost::weak_ptr<In2>& in2, ePromoteBinaryType::domain rule,
                                   bool largerGeometry) {
    return boost::make_shared<PromoteBinaryImageInitializer>(OutputImageRef(out), InputImageRef(in1),
                                                             InputImageRef(in2), rule, largerGeometry);
}
template <class Out, class In1, class In2>
OutputInitializerPtr promoteBinary(const boost::shared_ptr<Out>& out, const boost::shared_ptr<In1>& in1,
                                   const boost::shared_ptr<In2>& in2, ePromoteBinaryType::domain rule,
                                   bool largerGeometry) {
    return promoteBinary(boost::weak_ptr<Out>(out), boost::weak_ptr<In1>(in1), boost::weak_ptr<In2>(in2), rule,
                         largerGeometry);
}

template <class Out, class In>
OutputInitializerPtr duplicateInOut(const boost::weak_ptr<Out>& out, const boost::weak_ptr<In>& in,
                                    eImageInitializerStoragePolicy::domain storage) {
    return boost::make_shared<DuplicateImageInitializer>(OutputImageRef(out), InputImageRef(in), storage);
}
template <class Out, class In>
OutputInitializerPtr duplicateInOut(const boost::shared_ptr<Out>& out, const boost::shared_ptr<In>& in,
                                    eImageInitializerStoragePolicy::domain storage) {
    return duplicateInOut(boost::weak_ptr<Out>(out), boost::weak_ptr<In>(in), storage);
}

template <class Out, class In>
OutputInitializerPtr duplicateInOut(const boost::weak_ptr<Out>& out, const boost::weak_ptr<In>& in,
                                    image::eImageBufferType::domain type,
                                    eImageInitializerDistributionPolicy::domain distribution) {
    return boost::make_shared<DuplicateImageInitializer>(OutputImageRef(out), InputImageRef(in), type,
                                                         distribution);
}
template <class Out, class In>
OutputInitializerPtr duplicateInOut(const boost::shared_ptr<Out>& out, const boost::shared_ptr<In>& in,
                                    image::eImageBufferType::domain type,
                                    eImageInitializerDistributionPolicy::domain distribution) {
    return duplicateInOut(boost::weak_ptr<Out>(out), boost::weak_ptr<In>(in), type, distribution);
}

template <class Out, class In, class TypeAttr>
OutputInitializerPtr duplicateInOut(const boost::weak_ptr<Out>& out, const boost::weak_ptr<In>& in,
                                    const boost::weak_ptr<TypeAttr>& type,
                                    eImageInitializerStoragePolicy::domain storage) {
    return boost::make_shared<TypedDuplicateImageInitializer>(
        OutputImageRef(out), InputImageRef(in), boost::weak_ptr<BufferTypeAttribute>(type), storage);
}
template <class Out, class In, class TypeAttr>
OutputInitializerPtr duplicateInOut(const boost::shared_ptr<Out>& out, const boost::shared_ptr<In>& in,
                                    const boost::shared_ptr<TypeAttr>& type,
                                    eImageInitializerStoragePolicy::domain storage) {
    return duplicateInOut(boost::weak_ptr<Out>(out), boost::weak_ptr<In>(in), boost::weak_ptr<TypeAttr>(type),
                          storage);
}

template <class Out>
OutputInitializerPtr customOutput(const boost::weak_ptr<Out>& out, boost::shared_ptr<const BaseCustomImageInfo> info) {
    return boost::make_shared<CustomImageInitializer>(OutputImageRef(out), std::move(info));
}
template <class Out>
OutputInitializerPtr customOutput(const boost::shared_ptr<Out>& out,
                                  boost::shared_ptr<const BaseCustomImageInfo> info) {
    return customOutput(boost::weak_ptr<Out>(out), std::move(info));
}

}  // namespace vimra::processor
