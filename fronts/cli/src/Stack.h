#pragma once

// How the pages of a file make one image: a volume (pages are z), a sequence
// (pages are t), independent pages, or an ImageJ hyperstack (channels, slices
// and frames interleaved in the page order c, then z, then t). Samples of a
// pixel are always channels.

#include "TiffIo.h"

#include <vimra/image/BaseImage.h>

#include <cstdint>
#include <optional>
#include <string>

namespace vimra::cli {

enum class eStackMode { eAuto, eVolume, eSequence, ePages };

/// `auto` (ImageJ description if any, else volume), `volume`, `sequence`, `pages`.
eStackMode stackModeByName(const std::string& name);

struct Hyperstack {
    std::uint64_t images = 0, channels = 1, slices = 1, frames = 1;
};
/// The counts of an ImageJ description ("ImageJ=...\nimages=24\nchannels=2\n..."),
/// nothing when the text is not one. Absurd counts are refused by the caller.
std::optional<Hyperstack> parseImageJ(const std::string& description);
/// An ImageJ description for the given counts.
std::string imageJDescription(std::uint64_t channels, std::uint64_t slices, std::uint64_t frames);

/// The geometry of a file's image and where each plane lives in the file.
struct StackLayout {
    std::uint64_t sizeZ = 1, sizeC = 1, sizeT = 1;
    bool volume3d = false, multiChannel = false, sequence = false;
    bool channelsInSamples = true;  ///< else one page per channel (hyperstacks)
    bool hyperstack = false;        ///< read from, or to be written as, an ImageJ description

    std::uint64_t samples() const { return channelsInSamples ? sizeC : 1; }
    std::uint64_t pages() const { return sizeZ * sizeT * (channelsInSamples ? 1 : sizeC); }
    /// Page holding plane (z, c, t); with channels in samples, c is the sample.
    std::uint64_t pageOf(std::uint64_t z, std::uint64_t c, std::uint64_t t) const {
        return channelsInSamples ? z + sizeZ * t : c + sizeC * (z + sizeZ * t);
    }
    image::ImageDescription describe(image::eImageBufferType::domain type, std::uint64_t x,
                                     std::uint64_t y) const;
    bool sameGeometry(const StackLayout& o) const {
        return sizeZ == o.sizeZ && sizeC == o.sizeC && sizeT == o.sizeT;
    }
};

/// The layout of a file read in `mode` (pages mode: 2d pages, counted in sizeZ).
StackLayout layoutOf(const TiffReader& file, eStackMode mode);
/// The layout an output image is written with, following the first input's where it can.
StackLayout layoutForOutput(const image::BaseImage& out, const StackLayout& input);

/// The whole image of a file.
image::ImagePtr readStack(TiffReader& file, const StackLayout& layout);
/// Rows [y0, y0 + rows) of one page as a 2d image, one channel per sample.
/// `reuse`, when it has the band's description, is filled instead of a new image.
image::ImagePtr readPageBand(TiffReader& file, std::uint64_t page, std::uint32_t y0, std::uint32_t rows,
                             const image::ImagePtr& reuse = {});

void writeStack(TiffWriter& file, const image::BaseImage& img, const StackLayout& layout);
/// Writes a band read by readPageBand (or computed from one) to the same place.
void writePageBand(TiffWriter& file, std::uint64_t page, std::uint32_t y0, const image::BaseImage& band);

/// The TIFF format of an output with this layout and buffer type, copying what
/// it can (photometric, planar configuration, resolution, description) from the input.
WriteFormat outputFormat(image::eImageBufferType::domain type, std::uint32_t width, std::uint32_t height,
                         const StackLayout& layout, const StackLayout& inputLayout, const PageFormat& input,
                         const Metadata& meta);

}  // namespace vimra::cli
