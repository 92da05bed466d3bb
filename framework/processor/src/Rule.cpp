#include <vimra/processor/Rule.h>

#include <boost/format.hpp>
#include <boost/make_shared.hpp>

#include <cmath>
#include <functional>
#include <limits>

namespace vimra::processor {

namespace {

using image::BaseImage;

std::string sizeText(const BaseImage& img) {
    return (boost::format("%dx%d z=%d c=%d t=%d") % img.getSizeX() % img.getSizeY() % img.getSizeZ() %
            img.getSizeC() % img.getSizeT())
        .str();
}

std::string nameList(const std::vector<ImageAttributeRef>& attrs) {
    std::string s;
    for (const ImageAttributeRef& r : attrs) {
        if (!s.empty()) s += ", ";
        auto a = r.lock();
        s += a ? a->getName() : "<expired>";
    }
    return s;
}

/// Compares every set image of a list with the first set one.
class PairwiseImageRule final : public BaseRule {
public:
    using Compare = std::function<bool(const BaseImage&, const BaseImage&)>;
    using Describe = std::function<std::string(const BaseImage&)>;

    PairwiseImageRule(std::string name, std::string what, std::vector<ImageAttributeRef> attrs, Compare compare,
                      Describe describe)
        : m_name(std::move(name)), m_what(std::move(what)), m_attrs(std::move(attrs)), m_compare(std::move(compare)),
          m_describe(std::move(describe)) {}

    BoolResult check() const override {
        boost::shared_ptr<const BaseImageAttribute> first;
        for (const ImageAttributeRef& r : m_attrs) {
            auto a = r.lock();
            if (!a) return BoolResult::failure(m_name + ": an attribute has expired");
            if (!a->getImage()) continue;
            if (!first) {
                first = a;
                continue;
            }
            if (!m_compare(*first->getImage(), *a->getImage()))
                return BoolResult::failure((boost::format("%s of %s (%s) and %s (%s) differ") % m_what %
                                            first->getName() % m_describe(*first->getImage()) % a->getName() %
                                            m_describe(*a->getImage()))
                                               .str());
        }
        return BoolResult::success();
    }
    std::string describe() const override { return m_name + "(" + nameList(m_attrs) + ")"; }

private:
    std::string m_name, m_what;
    std::vector<ImageAttributeRef> m_attrs;
    Compare m_compare;
    Describe m_describe;
};

/// A predicate over one attribute's image; an unset image fails unless `unsetHolds`.
class ImagePredicateRule final : public BaseRule {
public:
    using Predicate = std::function<BoolResult(const BaseImage&, const char* name)>;
    ImagePredicateRule(std::string name, ImageAttributeRef attr, Predicate predicate, bool unsetHolds)
        : m_name(std::move(name)), m_attr(std::move(attr)), m_predicate(std::move(predicate)),
          m_unsetHolds(unsetHolds) {}

    BoolResult check() const override {
        auto a = m_attr.lock();
        if (!a) return BoolResult::failure(m_name + ": the attribute has expired");
        if (!a->getImage())
            return m_unsetHolds ? BoolResult::success()
                                : BoolResult::failure(std::string(a->getName()) + " holds no image");
        return m_predicate(*a->getImage(), a->getName());
    }
    std::string describe() const override {
        auto a = m_attr.lock();
        return m_name + "(" + (a ? a->getName() : "<expired>") + ")";
    }

private:
    std::string m_name;
    ImageAttributeRef m_attr;
    Predicate m_predicate;
    bool m_unsetHolds;
};

class GenericRule final : public BaseRule {
public:
    GenericRule(std::function<BoolResult()> check, std::function<std::string()> describe)
        : m_check(std::move(check)), m_describe(std::move(describe)) {}
    BoolResult check() const override { return m_check(); }
    std::string describe() const override { return m_describe(); }

private:
    std::function<BoolResult()> m_check;
    std::function<std::string()> m_describe;
};

RulePtr predicate(const char* name, ImageAttributeRef attr, std::function<bool(const BaseImage&)> holds,
                  const char* expectation) {
    return boost::make_shared<ImagePredicateRule>(
        name, std::move(attr),
        [holds = std::move(holds), expectation](const BaseImage& img, const char* attrName) {
            if (holds(img)) return BoolResult::success();
            return BoolResult::failure((boost::format("%s (%s) is not %s") % attrName %
                                        img.getDescription().toString() % expectation)
                                           .str());
        },
        false);
}

/// Value range of the element type of a buffer type, as doubles.
void typeRange(image::eImageBufferType::domain type, double& lo, double& hi) {
    image::visitElementType(type, [&]<class T>() {
        lo = static_cast<double>(image::NumericLimits<T>::s_min);
        hi = static_cast<double>(image::NumericLimits<T>::s_max);
    });
}

BoolResult boundInRange(const char* ruleName, const Range& range, eRangeLeaf::domain leaf,
                        image::eImageBufferType::domain type, const char* target) {
    const double v = leaf == eRangeLeaf::eMin ? range.Min : range.Max;
    double lo = 0, hi = 0;
    typeRange(type, lo, hi);
    if (!std::isnan(v) && v >= lo && v <= hi) return BoolResult::success();
    return BoolResult::failure((boost::format("%s: %s %g of the range is outside the values [%g, %g] of %s (%s)") %
                                ruleName % (leaf == eRangeLeaf::eMin ? "Min" : "Max") % v % lo % hi % target %
                                image::bufferTypeName(type))
                                   .str());
}

}  // namespace

RulePtr matchSize(std::vector<ImageAttributeRef> attributes) {
    return boost::make_shared<PairwiseImageRule>(
        "matchSize", "sizes", std::move(attributes),
        [](const BaseImage& a, const BaseImage& b) { return a.sameSize(b); }, sizeText);
}

RulePtr matchSize(std::vector<ImageAttributeRef> attributes, eSizeMatchMode::domain mode) {
    if (mode == eSizeMatchMode::eAll) return matchSize(std::move(attributes));
    return boost::make_shared<PairwiseImageRule>(
        "matchSize", "sizes", std::move(attributes),
        [mode](const BaseImage& a, const BaseImage& b) {
            const auto differs = [mode](unsigned bit, std::uint64_t x, std::uint64_t y) { return (mode & bit) && x != y; };
            return !(differs(eSizeMatchMode::eX, a.getSizeX(), b.getSizeX()) ||
                     differs(eSizeMatchMode::eY, a.getSizeY(), b.getSizeY()) ||
                     differs(eSizeMatchMode::eZ, a.getSizeZ(), b.getSizeZ()) ||
                     differs(eSizeMatchMode::eC, a.getSizeC(), b.getSizeC()) ||
                     differs(eSizeMatchMode::eT, a.getSizeT(), b.getSizeT()));
        },
        sizeText);
}

RulePtr matchBufferType(std::vector<ImageAttributeRef> attributes) {
    return boost::make_shared<PairwiseImageRule>(
        "matchBufferType", "buffer types", std::move(attributes),
        [](const BaseImage& a, const BaseImage& b) { return a.getBufferType() == b.getBufferType(); },
        [](const BaseImage& img) { return std::string(image::bufferTypeName(img.getBufferType())); });
}

RulePtr matchSizeAndType(std::vector<ImageAttributeRef> attributes) {
    return boost::make_shared<PairwiseImageRule>(
        "matchSizeAndType", "sizes and buffer types", std::move(attributes),
        [](const BaseImage& a, const BaseImage& b) {
            return a.sameSize(b) && a.getBufferType() == b.getBufferType();
        },
        [](const BaseImage& img) { return img.getDescription().toString(); });
}

RulePtr bufferType(ImageAttributeRef imageRef, image::eImageBufferType::domain type) {
    return boost::make_shared<ImagePredicateRule>(
        "bufferType", std::move(imageRef),
        [type](const BaseImage& img, const char* name) {
            if (img.getBufferType() == type) return BoolResult::success();
            return BoolResult::failure((boost::format("%s has buffer type %s, %s is required") % name %
                                        image::bufferTypeName(img.getBufferType()) % image::bufferTypeName(type))
                                           .str());
        },
        true);
}

RulePtr bufferType(ImageAttributeRef imageRef,
                   boost::weak_ptr<const BaseValueAttribute<image::eImageBufferType::domain>> typeRef) {
    return boost::make_shared<ImagePredicateRule>(
        "bufferType", std::move(imageRef),
        [typeRef](const BaseImage& img, const char* name) {
            auto t = typeRef.lock();
            if (!t) return BoolResult::failure("bufferType: the buffer type attribute has expired");
            if (!t->isSet()) return BoolResult::failure(std::string("bufferType: ") + t->getName() + " is not set");
            if (img.getBufferType() == t->getValue()) return BoolResult::success();
            return BoolResult::failure((boost::format("%s has buffer type %s, %s asks for %s") % name %
                                        image::bufferTypeName(img.getBufferType()) % t->getName() %
                                        image::bufferTypeName(t->getValue()))
                                           .str());
        },
        true);
}

RulePtr matchImageRange(boost::weak_ptr<const BaseValueAttribute<Range>> rangeRef, eRangeLeaf::domain leaf,
                        ImageAttributeRef imageRef) {
    return boost::make_shared<GenericRule>(
        [rangeRef, leaf, imageRef]() {
            auto r = rangeRef.lock();
            auto img = imageRef.lock();
            if (!r || !img) return BoolResult::failure("matchImageRange: an attribute has expired");
            if (!r->isSet()) return BoolResult::failure(std::string("matchImageRange: ") + r->getName() + " is not set");
            if (!img->getImage()) return BoolResult::success();  // checked once the output exists
            return boundInRange("matchImageRange", r->getValue(), leaf, img->getImage()->getBufferType(),
                                img->getName());
        },
        [leaf]() { return std::string("matchImageRange(") + (leaf == eRangeLeaf::eMin ? "Min" : "Max") + ")"; });
}

RulePtr RuleMatchLeafToStripRange(boost::weak_ptr<const BaseValueAttribute<Range>> rangeRef, eRangeLeaf::domain leaf,
                                  boost::weak_ptr<const BaseOutputYStrip2dAttribute> stripRef) {
    return boost::make_shared<GenericRule>(
        [rangeRef, leaf, stripRef]() {
            auto r = rangeRef.lock();
            auto s = stripRef.lock();
            if (!r || !s) return BoolResult::failure("RuleMatchLeafToStripRange: an attribute has expired");
            return boundInRange("RuleMatchLeafToStripRange", r->getValue(), leaf, s->getImageBufferType(),
                                s->getName());
        },
        [leaf]() {
            return std::string("RuleMatchLeafToStripRange(") + (leaf == eRangeLeaf::eMin ? "Min" : "Max") + ")";
        });
}

RulePtr is2d(ImageAttributeRef a) {
    return predicate("is2d", std::move(a),
                     [](const BaseImage& i) { return i.getVolumeGeometryType() == image::eVolumeGeometryType::e2d; },
                     "a 2d image");
}
RulePtr isGrey(ImageAttributeRef a) {
    return predicate("isGrey", std::move(a),
                     [](const BaseImage& i) { return i.getColorGeometryType() == image::eColorGeometryType::eGrey; },
                     "a grey image");
}
RulePtr isSequence(ImageAttributeRef a) {
    return predicate(
        "isSequence", std::move(a),
        [](const BaseImage& i) { return i.getTemporalGeometryType() == image::eTemporalGeometryType::eSequence; },
        "a sequence");
}
RulePtr isSingle(ImageAttributeRef a) {
    return predicate(
        "isSingle", std::move(a),
        [](const BaseImage& i) { return i.getTemporalGeometryType() == image::eTemporalGeometryType::eSingle; },
        "a single image");
}

RulePtr andRule(RulePtr a, RulePtr b) {
    return boost::make_shared<GenericRule>(
        [a, b]() {
            BoolResult r = a->check();
            return r ? b->check() : r;
        },
        [a, b]() { return "(" + a->describe() + " and " + b->describe() + ")"; });
}

RulePtr orRule(RulePtr a, RulePtr b) {
    return boost::make_shared<GenericRule>(
        [a, b]() {
            BoolResult ra = a->check();
            if (ra) return ra;
            BoolResult rb = b->check();
            if (rb) return rb;
            return BoolResult::failure(ra.getMessage() + "; and " + rb.getMessage());
        },
        [a, b]() { return "(" + a->describe() + " or " + b->describe() + ")"; });
}

RulePtr notRule(RulePtr a) {
    return boost::make_shared<GenericRule>(
        [a]() {
            if (a->check()) return BoolResult::failure(a->describe() + " holds but must not");
            return BoolResult::success();
        },
        [a]() { return "not " + a->describe(); });
}

RulePtr ifRule(RulePtr condition, RulePtr then, RulePtr otherwise) {
    return boost::make_shared<GenericRule>(
        [condition, then, otherwise]() {
            if (condition->check()) return then->check();
            return otherwise ? otherwise->check() : BoolResult::success();
        },
        [condition, then, otherwise]() {
            std::string s = "if " + condition->describe() + " then " + then->describe();
            if (otherwise) s += " else " + otherwise->describe();
            return s;
        });
}

RulePtr noneRule() {
    return boost::make_shared<GenericRule>([]() { return BoolResult::success(); }, []() { return std::string("none"); });
}

}  // namespace vimra::processor
