#pragma once

#include <vimra/processor/Attribute.h>
#include <vimra/processor/Result.h>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <functional>
#include <string>
#include <vector>

namespace vimra::processor {

/// A condition on a processor's attributes, checked before a run. Rules refer to
/// attributes through weak pointers, so a rule never keeps its processor's
/// attributes alive; an expired attribute fails the check.
class BaseRule {
public:
    virtual ~BaseRule() = default;
    /// Success, or a failure whose message names the attributes and what differs.
    virtual BoolResult check() const = 0;
    /// Short description ("matchSize(InImg1, InImg2, OutImg)").
    virtual std::string describe() const = 0;
};

using RulePtr = boost::shared_ptr<BaseRule>;
using ImageAttributeRef = boost::weak_ptr<const BaseImageAttribute>;

/// All set images among the attributes have the same size in every dimension;
/// unset attributes (an output still to be created) are skipped.
RulePtr matchSize(std::vector<ImageAttributeRef> attributes);
/// Which dimensions a size rule compares (a bit per dimension).
struct eSizeMatchMode {
    enum domain : unsigned {
        eX = 1,
        eY = 2,
        eZ = 4,
        eC = 8,
        eT = 16,
        ePlane = eX | eY,
        eVolume = ePlane | eZ,
        eColorPlane = ePlane | eC,
        eColorVolume = eVolume | eC,
        ePlaneSequence = ePlane | eT,
        eAll = eX | eY | eZ | eC | eT,
    };
};
/// All set images have the same size in the dimensions of `mode` (images of
/// different geometry: a plane applied to every plane of a volume matches in ePlane).
RulePtr matchSize(std::vector<ImageAttributeRef> attributes, eSizeMatchMode::domain mode);

/// All set images among the attributes have the same buffer type.
RulePtr matchBufferType(std::vector<ImageAttributeRef> attributes);
/// Same size and same buffer type.
RulePtr matchSizeAndType(std::vector<ImageAttributeRef> attributes);

template <class... A>
RulePtr matchSize(const boost::shared_ptr<A>&... a) {
    return matchSize(std::vector<ImageAttributeRef>{ImageAttributeRef(a)...});
}
template <class... A>
RulePtr matchSizeIn(eSizeMatchMode::domain mode, const boost::shared_ptr<A>&... a) {
    return matchSize(std::vector<ImageAttributeRef>{ImageAttributeRef(a)...}, mode);
}
template <class... A>
RulePtr matchBufferType(const boost::shared_ptr<A>&... a) {
    return matchBufferType(std::vector<ImageAttributeRef>{ImageAttributeRef(a)...});
}
template <class... A>
RulePtr matchSizeAndType(const boost::shared_ptr<A>&... a) {
    return matchSizeAndType(std::vector<ImageAttributeRef>{ImageAttributeRef(a)...});
}

/// The image (when set) has the given buffer type.
RulePtr bufferType(ImageAttributeRef image, image::eImageBufferType::domain type);
/// The image (when set) has the buffer type held by the enumeration attribute.
RulePtr bufferType(ImageAttributeRef image,
                   boost::weak_ptr<const BaseValueAttribute<image::eImageBufferType::domain>> type);

/// Which bound of a Range a rule reads.
struct eRangeLeaf {
    enum domain { eMin, eMax };
};
/// The range's bound lies inside the value range of the image's element type.
RulePtr matchImageRange(boost::weak_ptr<const BaseValueAttribute<Range>> range, eRangeLeaf::domain leaf,
                        ImageAttributeRef image);
/// The same check against a level-3 output strip's buffer type.
RulePtr RuleMatchLeafToStripRange(boost::weak_ptr<const BaseValueAttribute<Range>> range, eRangeLeaf::domain leaf,
                                  boost::weak_ptr<const BaseOutputYStrip2dAttribute> strip);

/// Geometry predicates over one image attribute (an unset image fails them).
RulePtr is2d(ImageAttributeRef image);
RulePtr isGrey(ImageAttributeRef image);
RulePtr isSequence(ImageAttributeRef image);
RulePtr isSingle(ImageAttributeRef image);

/// Combinators.
RulePtr andRule(RulePtr a, RulePtr b);
RulePtr orRule(RulePtr a, RulePtr b);
RulePtr notRule(RulePtr a);
/// If `condition` holds, `then` must hold; otherwise `otherwise` (when given) must.
RulePtr ifRule(RulePtr condition, RulePtr then, RulePtr otherwise = {});
/// Always holds.
RulePtr noneRule();

}  // namespace vimra::processor
