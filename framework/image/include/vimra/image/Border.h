#pragma once

#include <cstdint>

namespace vimra::image {

/// What a neighbourhood read returns outside the image, along each axis of n
/// elements (indices 0..n-1):
///   eConstant    a fixed value
///   eNearest     the edge element (-2 -1 | 0 1 2 -> 0 0 | 0 1 2)
///   eMirror      reflection about the edge element, which is not repeated
///                (-2 -1 | 0 1 2 -> 2 1 | 0 1 2)
///   eMirrorEdge  reflection about the edge itself, the edge element repeated
///                (-2 -1 | 0 1 2 -> 1 0 | 0 1 2)
///   ePeriodic    the image repeated (-2 -1 | 0 1 2 -> 1 2 | 0 1 2)
/// Reads any distance outside fold back the same way (mirrors are periodic with
/// period 2n-2 and 2n); a mirror of a line of one element reads that element.
struct eBorderPolicyType {
    enum domain : std::uint8_t {
        eConstant = 0,
        eNearest = 1,
        eMirror = 2,
        eMirrorEdge = 3,
        ePeriodic = 4
    };
};

/// A border policy: its type and, for eConstant, the value (converted to the
/// element type like BaseImage::setValue).
class BorderPolicy {
  public:
    BorderPolicy() = default;  ///< constant 0
    static BorderPolicy constant(double value = 0.0) {
        return {eBorderPolicyType::eConstant, value};
    }
    static BorderPolicy nearest() { return {eBorderPolicyType::eNearest, 0.0}; }
    static BorderPolicy mirror() { return {eBorderPolicyType::eMirror, 0.0}; }
    static BorderPolicy mirrorEdge() { return {eBorderPolicyType::eMirrorEdge, 0.0}; }
    static BorderPolicy periodic() { return {eBorderPolicyType::ePeriodic, 0.0}; }

    eBorderPolicyType::domain getType() const { return m_type; }
    double getConstant() const { return m_constant; }
    bool operator==(const BorderPolicy&) const = default;

  private:
    BorderPolicy(eBorderPolicyType::domain type, double constant)
        : m_type(type), m_constant(constant) {}
    eBorderPolicyType::domain m_type = eBorderPolicyType::eConstant;
    double m_constant = 0.0;
};

/// The policy of 2d neighbourhood reads (x and y) and of 3d ones (x, y and z).
using Border2dPolicy = BorderPolicy;
using Border3dPolicy = BorderPolicy;

/// The index read for index `i` of a line of `n` >= 1 elements: `i` itself inside,
/// otherwise folded back into [0, n) by the policy, or -1 for eConstant.
constexpr std::int64_t mapBorderIndex(eBorderPolicyType::domain type, std::int64_t i,
                                      std::int64_t n) {
    if (i >= 0 && i < n) return i;
    switch (type) {
        case eBorderPolicyType::eNearest:
            return i < 0 ? 0 : n - 1;
        case eBorderPolicyType::ePeriodic: {
            const std::int64_t m = i % n;
            return m < 0 ? m + n : m;
        }
        case eBorderPolicyType::eMirror: {
            if (n == 1) return 0;
            const std::int64_t period = 2 * (n - 1);
            std::int64_t m = i % period;
            if (m < 0) m += period;
            return m < n ? m : period - m;
        }
        case eBorderPolicyType::eMirrorEdge: {
            const std::int64_t period = 2 * n;
            std::int64_t m = i % period;
            if (m < 0) m += period;
            return m < n ? m : period - 1 - m;
        }
        default:
            return -1;
    }
}

}  // namespace vimra::image
