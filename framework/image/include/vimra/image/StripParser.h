#pragma once

// Strip parsers: how a level-3 kernel reaches the pixels of its strips. A parser
// is made over a "holder" (any type with `getStrip()`, such as the processing
// framework's strip attributes) and reads the holder's current strip on every
// access, so one parser serves all the strips a processor is given in a run.
// The holder must outlive the parser, or be passed as a shared pointer.

#include <vimra/image/Strip.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <type_traits>
#include <utility>

namespace vimra::image {

/// Common base, so that a processor can keep its parsers in one collection.
class BaseStripParser {
  public:
    virtual ~BaseStripParser() = default;
};
using StripParserPtr = boost::shared_ptr<BaseStripParser>;

/// Holds a parser's holder, and keeps it alive when given by shared pointer.
template <class Holder>
class BaseHolderParser : public BaseStripParser {
  public:
    explicit BaseHolderParser(const Holder& holder) : m_holder(&holder) {}
    explicit BaseHolderParser(boost::shared_ptr<const Holder> holder)
        : m_holder(holder.get()), m_keep(std::move(holder)) {}
    const Holder& getHolder() const { return *m_holder; }
    decltype(auto) strip() const { return m_holder->getStrip(); }

  private:
    const Holder* m_holder;
    boost::shared_ptr<const Holder> m_keep;
};

/// Flat access to a y strip: the strip's rows as one run of getElementCount()
/// elements. accessBuffer() is const void* for input strips and void* for output
/// strips. Vector kernels may overrun the run up to the next multiple of 64
/// elements (docs/image-model.md).
template <class Holder>
class BaseRawYStrip2dParser : public BaseHolderParser<Holder> {
  public:
    using BaseHolderParser<Holder>::BaseHolderParser;
    auto accessBuffer() const { return this->strip().getData(); }
    std::uint64_t getElementCount() const { return this->strip().getElementCount(); }
};

/// Row access to a y strip (input or output): accessBuffer(row) for row in
/// [0, getSizeY()) points to the first of the row's getSizeX() elements.
template <class Holder>
class BaseLineYStrip2dParser : public BaseHolderParser<Holder> {
  public:
    using BaseHolderParser<Holder>::BaseHolderParser;
    auto accessBuffer(std::uint64_t row) const { return this->strip().getRow(row); }
    std::uint64_t getSizeX() const { return this->strip().getSizeX(); }
    std::uint64_t getSizeY() const { return this->strip().getSizeY(); }
};

/// Row access to a y strip read through a neighbourhood. accessBuffer(row), for
/// row in [-marginY, rows + marginY), points to x = 0 of that widened row, and x
/// in [-marginX, sizeX + marginX) is readable; outside the plane the reads follow
/// the border policy (mirror unless set). The widened rows are built on the first
/// access to each strip, into storage the parser keeps for the next strips.
template <class Holder>
class BaseLineYStrip2dWithKernelParser : public BaseHolderParser<Holder> {
  public:
    using BaseHolderParser<Holder>::BaseHolderParser;
    void setBorder2dPolicy(const Border2dPolicy& policy) { m_policy = policy; }
    const Border2dPolicy& getBorder2dPolicy() const { return m_policy; }

    const void* accessBuffer(std::int64_t row) const {
        this->strip().widenInto(m_buffer, m_policy);
        return m_buffer.row(row);
    }
    /// Elements between consecutive widened rows.
    std::uint64_t getRowPitch() const {
        this->strip().widenInto(m_buffer, m_policy);
        return m_buffer.getRowPitch();
    }
    std::uint64_t getMarginX() const { return this->strip().getStartingKernelSizeX(); }
    std::uint64_t getMarginY() const { return this->strip().getStartingKernelSizeY(); }

  private:
    Border2dPolicy m_policy = Border2dPolicy::mirror();
    mutable KernelStripBuffer m_buffer;
};

/// Row access to a z strip (input or output): accessBuffer(row, plane) for row in
/// [0, getSizeY()) and plane in [0, getSizeZ()) of the strip.
template <class Holder>
class BaseLineZStrip3dParser : public BaseHolderParser<Holder> {
  public:
    using BaseHolderParser<Holder>::BaseHolderParser;
    auto accessBuffer(std::uint64_t row, std::uint64_t plane) const {
        return this->strip().getRow(row, plane);
    }
    std::uint64_t getSizeX() const { return this->strip().getSizeX(); }
    std::uint64_t getSizeY() const { return this->strip().getSizeY(); }
    std::uint64_t getSizeZ() const { return this->strip().getSizeZ(); }
};

/// Row access to a z strip read through a neighbourhood: accessBuffer(row, plane)
/// for row in [-marginY, sizeY + marginY) and plane in [-marginZ, planes +
/// marginZ) points to x = 0 of that widened row; x in [-marginX, sizeX + marginX)
/// is readable. Reads outside the volume follow the border policy (mirror unless set).
template <class Holder>
class BaseLineZStrip3dWithKernelParser : public BaseHolderParser<Holder> {
  public:
    using BaseHolderParser<Holder>::BaseHolderParser;
    void setBorder3dPolicy(const Border3dPolicy& policy) { m_policy = policy; }
    const Border3dPolicy& getBorder3dPolicy() const { return m_policy; }

    const void* accessBuffer(std::int64_t row, std::int64_t plane) const {
        this->strip().widenInto(m_buffer, m_policy);
        return m_buffer.row(row, plane);
    }
    std::uint64_t getRowPitch() const {
        this->strip().widenInto(m_buffer, m_policy);
        return m_buffer.getRowPitch();
    }
    std::uint64_t getPlanePitch() const {
        this->strip().widenInto(m_buffer, m_policy);
        return m_buffer.getPlanePitch();
    }
    std::uint64_t getMarginX() const { return this->strip().getStartingKernelSizeX(); }
    std::uint64_t getMarginY() const { return this->strip().getStartingKernelSizeY(); }
    std::uint64_t getMarginZ() const { return this->strip().getStartingKernelSizeZ(); }

  private:
    Border3dPolicy m_policy = Border3dPolicy::mirror();
    mutable KernelStripBuffer m_buffer;
};

/// Parser modes: flat runs or rows.
struct RawStripParserMode {};
struct LineStripParserMode {};

/// The parser of a mode for a strip type; undefined pairs (a raw parser of a
/// with-kernel strip, ...) do not compile.
template <class Mode, class Strip>
struct StripParserSelect;
template <>
struct StripParserSelect<RawStripParserMode, InputImageYStrip2d> {
    template <class H>
    using type = BaseRawYStrip2dParser<H>;
};
template <>
struct StripParserSelect<RawStripParserMode, OutputImageYStrip2d> {
    template <class H>
    using type = BaseRawYStrip2dParser<H>;
};
template <>
struct StripParserSelect<LineStripParserMode, InputImageYStrip2d> {
    template <class H>
    using type = BaseLineYStrip2dParser<H>;
};
template <>
struct StripParserSelect<LineStripParserMode, OutputImageYStrip2d> {
    template <class H>
    using type = BaseLineYStrip2dParser<H>;
};
template <>
struct StripParserSelect<LineStripParserMode, InputImageYStrip2dWithKernel> {
    template <class H>
    using type = BaseLineYStrip2dWithKernelParser<H>;
};
template <>
struct StripParserSelect<LineStripParserMode, InputImageZStrip3d> {
    template <class H>
    using type = BaseLineZStrip3dParser<H>;
};
template <>
struct StripParserSelect<LineStripParserMode, OutputImageZStrip3d> {
    template <class H>
    using type = BaseLineZStrip3dParser<H>;
};
template <>
struct StripParserSelect<LineStripParserMode, InputImageZStrip3dWithKernel> {
    template <class H>
    using type = BaseLineZStrip3dWithKernelParser<H>;
};

/// StripParserInfo<Mode, Holder, Concrete...>::createParser(holder) makes the
/// parser of `Mode` for the strip kind `Holder::getStrip()` returns. `Concrete`
/// may name the concrete holder types the parser is made for (attributes derived
/// from Holder); they are checked, not otherwise used.
template <class Mode, class Holder, class... Concrete>
struct StripParserInfo {
    static_assert((std::is_base_of_v<Holder, Concrete> && ...),
                  "the concrete holders must derive from Holder");
    using strip_type = std::remove_cvref_t<decltype(std::declval<const Holder&>().getStrip())>;
    using parser_type = typename StripParserSelect<Mode, strip_type>::template type<Holder>;

    /// `holder` must outlive the parser.
    static boost::shared_ptr<parser_type> createParser(const Holder& holder) {
        return boost::make_shared<parser_type>(holder);
    }
    /// The parser keeps `holder` alive.
    static boost::shared_ptr<parser_type> createParser(boost::shared_ptr<const Holder> holder) {
        return boost::make_shared<parser_type>(std::move(holder));
    }
};

}  // namespace vimra::image
