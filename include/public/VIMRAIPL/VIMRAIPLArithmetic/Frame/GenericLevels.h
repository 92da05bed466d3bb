#pragma once

// Operations between images of different geometry, written once: a second image
// of a smaller geometry (a plane, a colour plane, a plane sequence, a volume, a
// colour volume) is applied to every piece of the first image that has that
// geometry. Each piece is one ordinary level-1 run of a same-size operation
// (addImgImg, ...) in the same run, so its arithmetic, cancellation, worker cap
// and failures are exactly those of that operation.
//
// An operation is one declaration
//   struct GenericFooImgImgOperation {
//       static constexpr const char* s_name = "GenericFooImgImg";
//       static constexpr auto s_toolTipLvl1 = eProcessorMessage::...;  // level-2 texts follow
//       using Piece = FooImgImgLvl1;                                   // run on every piece
//   };
// one level-2 class per geometry, and a level-1 class naming them in piece::Geometries order:
//   class GenericFooImgImgSplit2dLvl2 final
//       : public GenericLvl2<GenericFooImgImgSplit2dLvl2, GenericFooImgImgOperation,
//                            piece::Split2d> {};
//   class GenericFooImgImgLvl1 final
//       : public GenericLvl1<GenericFooImgImgLvl1, GenericFooImgImgOperation,
//                            GenericFooImgImgSplit2dLvl2, ...> {};

#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

#include <array>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace vimra::imaproc::attr {

// Pieces of the first image and the whole second image at level 2, by geometry.
using InSubColorImg2d1 = Attribute<"InSubColorImg2d1", BaseInputImageAttribute>;
using InSubColorImg2d2 = Attribute<"InSubColorImg2d2", BaseInputImageAttribute>;
using InSubSeqImg2d1 = Attribute<"InSubSeqImg2d1", BaseInputImageAttribute>;
using InSubSeqImg2d2 = Attribute<"InSubSeqImg2d2", BaseInputImageAttribute>;
using InSubColorImg3d1 = Attribute<"InSubColorImg3d1", BaseInputImageAttribute>;
using InSubColorImg3d2 = Attribute<"InSubColorImg3d2", BaseInputImageAttribute>;

}  // namespace vimra::imaproc::attr

namespace vimra::imaproc::arithm {

namespace piece {

using image::eColorGeometryType;
using image::eTemporalGeometryType;
using image::eVolumeGeometryType;
using processor::eSubImageSplitType;

inline constexpr const char* s_geometryNames[] = {"Split2d", "Split2dRgb", "Split2dSeq", "Split3d",
                                                  "Split3dRgb"};

/// A geometry a second image may have: its level-2 attributes (the piece of the
/// first image, the whole second image) and the split that cuts the first image
/// and the output into pieces of that geometry.
template <int Index, eVolumeGeometryType::domain Volume, eColorGeometryType::domain Color,
          eTemporalGeometryType::domain Temporal, eSubImageSplitType::domain Split, class In1Attr,
          class In2Attr>
struct Geometry {
    static constexpr int s_index = Index;
    static constexpr const char* s_name = s_geometryNames[Index];
    static constexpr eSubImageSplitType::domain s_split = Split;
    using In1 = In1Attr;
    using In2 = In2Attr;
    static bool holds(const image::BaseImage& image) {
        return image.getVolumeGeometryType() == Volume && image.getColorGeometryType() == Color &&
               image.getTemporalGeometryType() == Temporal;
    }
};

using Split2d =
    Geometry<0, eVolumeGeometryType::e2d, eColorGeometryType::eGrey, eTemporalGeometryType::eSingle,
             eSubImageSplitType::ePlane2d, attr::InSubImg2d1, attr::InSubImg2d2>;
using Split2dRgb = Geometry<1, eVolumeGeometryType::e2d, eColorGeometryType::eMultiChannel,
                            eTemporalGeometryType::eSingle, eSubImageSplitType::eColor2d,
                            attr::InSubColorImg2d1, attr::InSubColorImg2d2>;
using Split2dSeq = Geometry<2, eVolumeGeometryType::e2d, eColorGeometryType::eGrey,
                            eTemporalGeometryType::eSequence, eSubImageSplitType::eSequence2d,
                            attr::InSubSeqImg2d1, attr::InSubSeqImg2d2>;
using Split3d =
    Geometry<3, eVolumeGeometryType::e3d, eColorGeometryType::eGrey, eTemporalGeometryType::eSingle,
             eSubImageSplitType::eVolume3d, attr::InSubImg3d1, attr::InSubImg3d2>;
using Split3dRgb = Geometry<4, eVolumeGeometryType::e3d, eColorGeometryType::eMultiChannel,
                            eTemporalGeometryType::eSingle, eSubImageSplitType::eColor3d,
                            attr::InSubColorImg3d1, attr::InSubColorImg3d2>;

/// Every geometry, in the order in which the second image is matched against them.
using Geometries = TypeList<Split2d, Split2dRgb, Split2dSeq, Split3d, Split3dRgb>;

/// The operation's name and the geometry's as one constant string, for class names.
template <class Op, class G>
struct JoinedName {
    static constexpr auto s_storage = [] {
        const std::string_view a(Op::s_name), b(G::s_name);
        std::array<char, 64> s{};
        if (a.size() + b.size() >= s.size())
            throw "class name too long";  // fails the constant evaluation
        for (std::size_t i = 0; i < a.size(); ++i) s[i] = a[i];
        for (std::size_t i = 0; i < b.size(); ++i) s[a.size() + i] = b[i];
        return s;
    }();
    static constexpr const char* s_value = s_storage.data();
};

}  // namespace piece

namespace detail {

/// The rule of every generic operation: InImg1 and InImg2 match in the
/// dimensions that InImg2 has, for each listed geometry of InImg2 (any other is
/// refused by name); OutImg has InImg1's size.
processor::RulePtr genericImgImgRule(processor::ImageAttributeRef in1,
                                     processor::ImageAttributeRef in2,
                                     processor::ImageAttributeRef out);

/// The failure of a run whose second image has no listed geometry (rules off).
ProcessingResult<bool> unlistedGeometry(const image::BaseImage& in2);

}  // namespace detail

/// The level-2 declaration of one geometry of a generic operation.
template <class Op, class G>
struct GenericVariantOperation {
    static constexpr const char* s_name = piece::JoinedName<Op, G>::s_value;
    // The five level-2 texts of an operation follow its level-1 text, in the order of
    // piece::Geometries.
    static constexpr auto s_toolTipLvl2 =
        static_cast<eProcessorMessage::domain>(Op::s_toolTipLvl1 + 1 + G::s_index);
    using Geometry = G;
    using Inputs = TypeList<ImageChain<attr::InImg1, typename G::In1, void>,
                            ImageChain<attr::InImg2, typename G::In2, void>>;
    using Outputs = TypeList<OutputChain<attr::OutImg, attr::OutImg, void, void>>;
};

/// One piece of InImg1 and OutImg with the whole InImg2, run through Op::Piece.
template <class Derived, class Op, class G>
class GenericLvl2 : public PieceLvl2<Derived, GenericVariantOperation<Op, G>, typename Op::Piece> {
  public:
    using Geometry = G;
};

/// The level-1 declaration of a generic operation over its level-2 classes.
template <class Op, class... Lvl2>
struct GenericOperation {
    static_assert(std::is_same_v<TypeList<typename Lvl2::Geometry...>, piece::Geometries>,
                  "one level-2 class per geometry, in the order of piece::Geometries");

    static constexpr const char* s_name = Op::s_name;
    static constexpr eProcessorMessage::domain s_toolTipLvl1 = Op::s_toolTipLvl1;
    // Level 1 only: the attributes of the pieces are those of each geometry's level 2.
    using Inputs =
        TypeList<ImageChain<attr::InImg1, void, void>, ImageChain<attr::InImg2, void, void>>;
    // The output takes the larger input's geometry: the first image's, once the rule holds.
    using Outputs =
        TypeList<OutputChain<attr::OutImg, void, void,
                             PromoteBinaryOutput<processor::ePromoteBinaryType::eAddition, true>>>;

    struct Rule {
        template <class Level>
        static processor::RulePtr make(const Level& level) {
            return detail::genericImgImgRule(level.template attribute<attr::InImg1>(),
                                             level.template attribute<attr::InImg2>(),
                                             level.template attribute<attr::OutImg>());
        }
    };

    /// The level-2 class of InImg2's geometry, over the pieces of InImg1 and OutImg.
    template <class Level>
    static ProcessingResult<bool> chooseProvider(const Level& level, unsigned priority,
                                                 processor::ProviderPtr& provider) {
        const image::BaseImage& in2 = *level.template attribute<attr::InImg2>()->getValue();
        const bool chosen =
            ((Lvl2::Geometry::holds(in2) && (provider = pieces<Lvl2>(level, priority), true)) ||
             ...);
        if (!chosen) return detail::unlistedGeometry(in2);
        return ProcessingResult<bool>::success(true);
    }

  private:
    template <class L2, class Level>
    static processor::ProviderPtr pieces(const Level& level, unsigned priority) {
        using G = typename L2::Geometry;
        auto out = boost::make_shared<processor::SubImageSplit<L2, attr::OutImg>>();
        out->initBase(G::s_split, 0, 0, 0, level.template attribute<attr::OutImg>()->getValue());
        auto in1 = boost::make_shared<processor::SubImageSplit<L2, typename G::In1>>();
        in1->initBase(G::s_split, 0, 0, 0, level.template attribute<attr::InImg1>()->getValue());
        auto in2 = boost::make_shared<processor::StaticNoSplit<typename G::In2>>();
        in2->initBase(level.template attribute<attr::InImg2>()->getValue());
        auto dispatcher = boost::make_shared<processor::StaticProcessorDispatcher<L2>>();
        dispatcher->initBase(priority, {out, in1, in2});
        return dispatcher;
    }
};

template <class Derived, class Op, class... Lvl2>
class GenericLvl1 : public PixelwiseLvl1<Derived, GenericOperation<Op, Lvl2...>,
                                         std::tuple_element_t<0, std::tuple<Lvl2...>>> {};

}  // namespace vimra::imaproc::arithm
