#include "Stack.h"

#include "Failure.h"

#include <tiffio.h>

#include <charconv>
#include <sstream>
#include <vector>

namespace vimra::cli {

using image::ColorGeometry;
using image::ImageDescription;
using image::TemporalGeometry;
using image::VolumeGeometry;

eStackMode stackModeByName(const std::string& name) {
    if (name == "auto") return eStackMode::eAuto;
    if (name == "volume") return eStackMode::eVolume;
    if (name == "sequence") return eStackMode::eSequence;
    if (name == "pages") return eStackMode::ePages;
    usageError("unknown stack kind '" + name + "' (auto, volume, sequence or pages)");
}

std::optional<Hyperstack> parseImageJ(const std::string& description) {
    if (description.rfind("ImageJ=", 0) != 0) return std::nullopt;
    Hyperstack h;
    std::istringstream lines(description);
    std::string line;
    while (std::getline(lines, line)) {
        const auto eq = line.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = line.substr(0, eq);
        std::uint64_t* field = key == "images"     ? &h.images
                               : key == "channels" ? &h.channels
                               : key == "slices"   ? &h.slices
                               : key == "frames"   ? &h.frames
                                                   : nullptr;
        if (!field) continue;
        std::uint64_t v = 0;
        const char* first = line.data() + eq + 1;
        const char* last = line.data() + line.size();
        const auto [end, ec] = std::from_chars(first, last, v);
        // A count we cannot read is left at its default and the page count decides.
        if (ec == std::errc() && end == last) *field = v;
    }
    return h;
}

std::string imageJDescription(std::uint64_t channels, std::uint64_t slices, std::uint64_t frames) {
    std::string s = "ImageJ=1.11a\nimages=" + std::to_string(channels * slices * frames) + "\n";
    if (channels > 1) s += "channels=" + std::to_string(channels) + "\n";
    if (slices > 1) s += "slices=" + std::to_string(slices) + "\n";
    if (frames > 1) s += "frames=" + std::to_string(frames) + "\n";
    if ((channels > 1) + (slices > 1) + (frames > 1) > 1) s += "hyperstack=true\n";
    return s;
}

ImageDescription StackLayout::describe(image::eImageBufferType::domain type, std::uint64_t x,
                                       std::uint64_t y) const {
    return ImageDescription::make(type, x, y, volume3d ? VolumeGeometry::make3d(sizeZ) : VolumeGeometry::make2d(),
                                  multiChannel ? ColorGeometry::multiChannel(sizeC) : ColorGeometry::grey(),
                                  sequence ? TemporalGeometry::sequence(sizeT) : TemporalGeometry::single());
}

StackLayout layoutOf(const TiffReader& file, eStackMode mode) {
    const std::uint64_t pages = file.pageCount();
    const std::uint64_t samples = file.format().samples;
    StackLayout l;
    l.sizeC = samples;
    l.multiChannel = samples > 1;
    if (mode == eStackMode::ePages) {
        // Pages side by side, each a 2d image of its own: counted, never stacked.
        l.sizeZ = pages;
        return l;
    }
    if (mode == eStackMode::eAuto) {
        if (const auto h = parseImageJ(file.metadata().description)) {
            if (h->images > pages)
                fileError("ImageJ stack of " + std::to_string(h->images) + " images with only " +
                              std::to_string(pages) + " pages (images stored past the first page's data are not "
                                                      "supported)",
                          file.path());
            if (h->channels == 0 || h->slices == 0 || h->frames == 0 ||
                h->channels > pages || h->slices > pages || h->frames > pages ||
                h->channels * h->slices * h->frames != pages)
                fileError("ImageJ description (channels=" + std::to_string(h->channels) + ", slices=" +
                              std::to_string(h->slices) + ", frames=" + std::to_string(h->frames) +
                              ") does not match the " + std::to_string(pages) + " pages",
                          file.path());
            if (h->channels > 1 && samples > 1)
                fileError("ImageJ channels and several samples per pixel at once are not supported", file.path());
            l.hyperstack = true;
            if (h->channels > 1) {
                l.channelsInSamples = false;
                l.sizeC = h->channels;
                l.multiChannel = true;
            }
            l.sizeZ = h->slices;
            l.volume3d = h->slices > 1;
            l.sizeT = h->frames;
            l.sequence = h->frames > 1;
            return l;
        }
        mode = eStackMode::eVolume;
    }
    if (pages > 1) {
        if (mode == eStackMode::eVolume) {
            l.sizeZ = pages;
            l.volume3d = true;
        } else {
            l.sizeT = pages;
            l.sequence = true;
        }
    }
    return l;
}

StackLayout layoutForOutput(const image::BaseImage& out, const StackLayout& input) {
    StackLayout l;
    l.sizeZ = out.getSizeZ();
    l.sizeC = out.getSizeC();
    l.sizeT = out.getSizeT();
    l.volume3d = out.getVolumeGeometryType() == image::eVolumeGeometryType::e3d;
    l.multiChannel = out.getColorGeometryType() == image::eColorGeometryType::eMultiChannel;
    l.sequence = out.getTemporalGeometryType() == image::eTemporalGeometryType::eSequence;
    // Channels stay samples where the input had them so; otherwise they become
    // pages, and a hyperstack description tells a reader how to put them back.
    l.channelsInSamples = l.sizeC == 1 || (input.channelsInSamples && l.sizeC == input.sizeC);
    l.hyperstack = input.hyperstack || !l.channelsInSamples || l.sizeT > 1;
    return l;
}

namespace {

template <class Image, class Ptr>
std::vector<Ptr> samplePlanes(Image& img, const StackLayout& layout, std::uint64_t page) {
    // Page `page` holds, per sample, one plane of the image.
    std::vector<Ptr> planes;
    const std::uint64_t perPage = layout.channelsInSamples ? layout.sizeC : 1;
    const std::uint64_t zt = layout.channelsInSamples ? page : page / layout.sizeC;
    const std::uint64_t z = zt % layout.sizeZ, t = zt / layout.sizeZ;
    for (std::uint64_t s = 0; s < perPage; ++s) {
        const std::uint64_t c = layout.channelsInSamples ? s : page % layout.sizeC;
        planes.push_back(img.planeData(z, c, t));
    }
    return planes;
}

void checkAllocation(const ImageDescription& desc, const std::string& path) {
    try {
        image::checkDescription(desc);
    } catch (const image::ImageException& e) {
        fileError(std::string("image too large: ") + e.what(), path);
    }
}

}  // namespace

image::ImagePtr readStack(TiffReader& file, const StackLayout& layout) {
    const ImageDescription desc = layout.describe(file.format().type, file.format().width, file.format().height);
    checkAllocation(desc, file.path());
    auto img = image::Image::create(desc, image::Image::eInit::eUninitialized);
    for (std::uint64_t p = 0; p < layout.pages(); ++p)
        file.readRows(p, 0, file.format().height, samplePlanes<image::BaseImage, void*>(*img, layout, p));
    return img;
}

image::ImagePtr readPageBand(TiffReader& file, std::uint64_t page, std::uint32_t y0, std::uint32_t rows,
                             const image::ImagePtr& reuse) {
    const PageFormat& f = file.format();
    auto desc = ImageDescription::make2d(f.type, f.width, rows);
    if (f.samples > 1) desc.color = ColorGeometry::multiChannel(f.samples);
    checkAllocation(desc, file.path());
    auto img = reuse && reuse->getDescription() == desc ? reuse
                                                        : image::Image::create(desc, image::Image::eInit::eUninitialized);
    std::vector<void*> planes;
    for (std::uint64_t c = 0; c < f.samples; ++c) planes.push_back(img->planeData(0, c, 0));
    file.readRows(page, y0, rows, planes);
    return img;
}

void writeStack(TiffWriter& file, const image::BaseImage& img, const StackLayout& layout) {
    const auto height = static_cast<std::uint32_t>(img.getSizeY());
    for (std::uint64_t p = 0; p < layout.pages(); ++p)
        file.writeRows(p, 0, height, samplePlanes<const image::BaseImage, const void*>(img, layout, p));
}

void writePageBand(TiffWriter& file, std::uint64_t page, std::uint32_t y0, const image::BaseImage& band) {
    std::vector<const void*> planes;
    for (std::uint64_t c = 0; c < band.getSizeC(); ++c) planes.push_back(band.planeData(0, c, 0));
    file.writeRows(page, y0, static_cast<std::uint32_t>(band.getSizeY()), planes);
}

WriteFormat outputFormat(image::eImageBufferType::domain type, std::uint32_t width, std::uint32_t height,
                         const StackLayout& layout, const StackLayout& inputLayout, const PageFormat& input,
                         const Metadata& meta) {
    WriteFormat w;
    w.width = width;
    w.height = height;
    w.type = type;
    w.samples = static_cast<std::uint16_t>(layout.samples());
    w.pages = layout.pages();
    w.meta = meta;
    const bool sameSamples = w.samples == input.samples;
    const bool rgb = input.photometric == PHOTOMETRIC_RGB && w.samples >= 3;
    w.photometric = sameSamples ? input.photometric : rgb ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    w.planar = sameSamples ? input.planar : PLANARCONFIG_CONTIG;
    const std::size_t colourSamples = w.photometric == PHOTOMETRIC_RGB ? 3 : w.photometric == PHOTOMETRIC_SEPARATED ? 4 : 1;
    if (sameSamples)
        w.extraSamples = input.extraSamples;
    else if (w.samples > colourSamples)
        w.extraSamples.assign(w.samples - colourSamples, EXTRASAMPLE_UNSPECIFIED);
    w.compression = canWriteCompression(input.compression) ? input.compression : COMPRESSION_NONE;
    // A hyperstack needs a description that matches its pages; other text is kept.
    const bool changed =
        !layout.sameGeometry(inputLayout) || layout.channelsInSamples != inputLayout.channelsInSamples;
    const bool imageJ = parseImageJ(meta.description).has_value();
    if (layout.hyperstack && (changed || !imageJ))
        w.meta.description =
            imageJDescription(layout.channelsInSamples ? 1 : layout.sizeC, layout.sizeZ, layout.sizeT);
    else if (changed && imageJ)
        w.meta.description.clear();
    return w;
}

}  // namespace vimra::cli
