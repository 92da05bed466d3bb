#include "Run.h"

#include "Failure.h"
#include "Progress.h"

#include <vimra/core/BaseException.h>
#include <vimra/processor/ProcessingException.h>

#include <tiffio.h>

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <memory>

namespace vimra::cli {

using image::eImageBufferType;

namespace {

struct Input {
    std::size_t argument = 0;
    std::unique_ptr<TiffReader> file;
    StackLayout layout;
};

std::string gib(std::uint64_t bytes) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f GiB", static_cast<double>(bytes) / (1u << 30));
    return buf;
}

/// Runs the operation on in-memory images: `images[i]` is the image of argument i
/// (where it is one). Library failures become processing failures naming `where`.
std::vector<image::ImagePtr> compute(const OperationCall& call, const RunOptions& options,
                                     const std::vector<image::ConstImagePtr>& images,
                                     const std::vector<image::ImagePtr>& givenOutputs, const std::string& where,
                                     std::optional<std::uint64_t> page) {
    std::vector<catalogue::ArgumentValue> args = call.values;
    for (std::size_t i = 0; i < args.size(); ++i)
        if (images[i]) args[i] = images[i];
    try {
        auto processor = call.op->prepare(args, givenOutputs);
        if (options.threads) {
            processor::ProcessorDispatchPolicy policy = processor->getDispatchPolicy();
            policy.setMaxWorkers(options.threads);
            processor->setDispatchPolicy(policy);
        }
        processor::executeSyncRun(processor);
        return call.op->outputsOf(*processor);
    } catch (const core::BaseException& e) {
        throw Failure(eExit::eProcessing, e.what(), where, page);
    } catch (const std::bad_alloc&) {
        throw Failure(eExit::eProcessing, "out of memory", where, page);
    }
}

std::vector<image::ImagePtr> outputsOfType(const OperationCall& call, const RunOptions& options,
                                           const image::BaseImage& like) {
    std::vector<image::ImagePtr> outs;
    if (!options.type) return outs;
    image::ImageDescription d = like.getDescription();
    d.bufferType = *options.type;
    for (std::size_t i = 0; i < call.op->outputs.size(); ++i) outs.push_back(image::Image::create(d));
    return outs;
}

/// Outputs for a band, to be filled again by the following bands: of the --type
/// asked for, or of the type the operation's rule gives these inputs. None where
/// a rule does not say (the operation then creates its outputs each time).
std::vector<image::ImagePtr> reusableOutputs(const OperationCall& call, const RunOptions& options,
                                             const std::vector<image::ConstImagePtr>& images) {
    // The rule's inputs: the image arguments in order, unset ones only at the end.
    std::vector<eImageBufferType::domain> inputTypes;
    const image::BaseImage* like = nullptr;
    bool gap = false;
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (call.op->arguments[i].kind != catalogue::eArgumentKind::eImage) continue;
        if (!images[i]) {
            gap = true;
            continue;
        }
        if (gap) return {};
        inputTypes.push_back(images[i]->getBufferType());
        if (!like) like = images[i].get();
    }
    std::vector<image::ImagePtr> outs;
    for (const auto& info : call.op->outputs) {
        const auto type = options.type ? options.type : info.resultType(inputTypes);
        if (!type) return {};
        image::ImageDescription d = like->getDescription();
        d.bufferType = *type;
        outs.push_back(image::Image::create(d, image::Image::eInit::eUninitialized));
    }
    return outs;
}

}  // namespace

bool readsNeighbourhoods(const catalogue::OperationInfo& op) {
    return std::any_of(op.arguments.begin(), op.arguments.end(),
                       [](const auto& a) { return a.kind == catalogue::eArgumentKind::eText; });
}

std::uint64_t defaultMaxMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return std::uint64_t{4} << 30;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize) / 2;
}

std::uint64_t parseByteSize(const std::string& text) {
    std::size_t used = 0;
    unsigned long long value = 0;
    try {
        value = std::stoull(text, &used);
    } catch (const std::exception&) {
        usageError("not a size: '" + text + "' (for example 512M or 4G)");
    }
    std::string unit = text.substr(used);
    for (char& c : unit) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const int shift = unit.empty() || unit == "B" ? 0
                      : unit == "K" || unit == "KB" || unit == "KIB" ? 10
                      : unit == "M" || unit == "MB" || unit == "MIB" ? 20
                      : unit == "G" || unit == "GB" || unit == "GIB" ? 30
                                                                      : -1;
    if (shift < 0 || value == 0 || value > (~0ull >> shift))
        usageError("not a size: '" + text + "' (for example 512M or 4G)");
    return value << shift;
}

eImageBufferType::domain bufferTypeByName(const std::string& name) {
    std::string known;
    for (int t = eImageBufferType::s_first; t <= eImageBufferType::s_last; ++t) {
        const auto type = static_cast<eImageBufferType::domain>(t);
        if (name == image::bufferTypeName(type)) return type;
        known += std::string(known.empty() ? "" : ", ") + image::bufferTypeName(type);
    }
    usageError("unknown buffer type '" + name + "' (known: " + known + ")");
}

void runOperation(const OperationCall& request, const RunOptions& options) {
    OperationCall call = request;
    if (call.outputs.size() != call.op->outputs.size())
        usageError(call.commandName + " writes " + std::to_string(call.op->outputs.size()) + " output" +
                   (call.op->outputs.size() == 1 ? "" : "s") + ": give " +
                   (call.op->outputs.size() == 1 ? "one -o FILE"
                                                  : std::to_string(call.op->outputs.size()) + " -o FILE") +
                   " (got " + std::to_string(call.outputs.size()) + ")");
    for (std::size_t i = 0; i < call.outputs.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (call.outputs[i] == call.outputs[j]) usageError("output " + call.outputs[i] + " is given twice");

    // Inputs: opened and checked before anything is computed or written.
    std::vector<Input> inputs;
    std::vector<std::string> inputPaths;
    for (std::size_t i = 0; i < call.imagePaths.size(); ++i) {
        if (!call.imagePaths[i]) continue;
        Input in;
        in.argument = i;
        in.file = std::make_unique<TiffReader>(*call.imagePaths[i], options.maxMemory);
        in.layout = layoutOf(*in.file, options.stack);
        inputPaths.push_back(*call.imagePaths[i]);
        inputs.push_back(std::move(in));
    }
    if (inputs.empty()) usageError(call.commandName + " needs at least one input image");
    if (call.volumeOp && std::any_of(inputs.begin(), inputs.end(), [](const Input& in) { return in.layout.volume3d; }))
        call.op = call.volumeOp;
    const catalogue::OperationInfo& op = *call.op;
    for (const auto& out : call.outputs) TiffWriter::checkDestination(out, options.force, inputPaths);
    const Input& first = inputs.front();
    const PageFormat& f0 = first.file->format();

    const bool pagewise = options.stack == eStackMode::ePages;
    const bool sameFormat = std::all_of(inputs.begin(), inputs.end(), [&](const Input& in) {
        const PageFormat& f = in.file->format();
        return f.width == f0.width && f.height == f0.height && f.samples == f0.samples &&
               in.file->pageCount() == first.file->pageCount() && in.layout.sameGeometry(first.layout) &&
               in.layout.channelsInSamples == first.layout.channelsInSamples;
    });
    // Pixel by pixel, bands of rows give the same result as whole images.
    const bool banded = sameFormat && !readsNeighbourhoods(op) && options.bandElements > 0;
    if (pagewise && !banded)
        for (const Input& in : inputs)
            if (in.file->pageCount() != first.file->pageCount())
                throw Failure(eExit::eProcessing,
                              "inputs have different page counts (" + std::to_string(first.file->pageCount()) +
                                  " and " + std::to_string(in.file->pageCount()) + ")",
                              in.file->path());

    std::vector<image::ConstImagePtr> images(op.arguments.size());
    std::vector<std::unique_ptr<TiffWriter>> writers(op.outputs.size());
    Progress progress(call.commandName, options.progress);

    const auto makeWriter = [&](std::size_t o, const image::BaseImage& out, std::uint64_t height,
                                const StackLayout& outLayout) {
        WriteFormat wf = outputFormat(out.getBufferType(), static_cast<std::uint32_t>(out.getSizeX()),
                                      static_cast<std::uint32_t>(height), outLayout, first.layout, f0,
                                      first.file->metadata());
        if (options.compression) wf.compression = *options.compression;
        wf.forceBigTiff = options.bigTiff;
        writers[o] = std::make_unique<TiffWriter>(call.outputs[o], wf, options.force, inputPaths);
    };

    if (banded || pagewise) {
        const std::uint64_t pages = first.file->pageCount();
        const std::uint32_t height = f0.height;
        const bool separate = f0.planar == PLANARCONFIG_SEPARATE;
        const std::uint32_t strip = TiffWriter::stripRows(f0.width, height, separate ? 1 : f0.samples);
        std::uint32_t bandRows = height;
        if (banded) {
            const std::uint64_t rowElements = std::uint64_t{f0.width} * f0.samples;
            const std::uint64_t rows = std::max<std::uint64_t>(options.bandElements / rowElements, 1);
            bandRows = static_cast<std::uint32_t>(std::min<std::uint64_t>(
                std::max<std::uint64_t>(rows / strip, 1) * strip, height));
        }
        std::vector<image::ImagePtr> bandImages(op.arguments.size()), given;
        for (std::uint64_t p = 0; p < pages; ++p)
            for (std::uint32_t y0 = 0; y0 < height; y0 += bandRows) {
                const std::uint32_t rows = std::min(bandRows, height - y0);
                for (const Input& in : inputs) {
                    // Each band fills the previous band's images: no fresh memory per band.
                    auto& band = bandImages[in.argument];
                    band = banded ? readPageBand(*in.file, p, y0, rows, band)
                                  : readPageBand(*in.file, p, 0, in.file->format().height, band);
                    images[in.argument] = band;
                }
                if (given.empty() || given[0]->getSizeY() != images[first.argument]->getSizeY())
                    given = reusableOutputs(call, options, images);
                const auto outs = compute(call, options, images, given, first.file->path(), p);
                for (std::size_t o = 0; o < outs.size(); ++o) {
                    if (banded && (outs[o]->getSizeX() != f0.width || outs[o]->getSizeY() != rows))
                        throw Failure(eExit::eProcessing, "output of another size than its inputs", call.outputs[o]);
                    if (!writers[o]) {
                        // Each page keeps its place; its channels are written as samples.
                        StackLayout outLayout = first.layout;
                        const std::uint64_t channels = outs[o]->getSizeC();
                        if (outLayout.channelsInSamples && channels != outLayout.sizeC) {
                            outLayout.sizeC = channels;
                            outLayout.multiChannel = channels > 1;
                        }
                        makeWriter(o, *outs[o], banded ? height : outs[o]->getSizeY(), outLayout);
                    }
                    writePageBand(*writers[o], p, banded ? y0 : 0, *outs[o]);
                }
                progress.update(static_cast<double>(p * height + y0 + rows) / static_cast<double>(pages * height));
            }
    } else {
        // Whole images: only as large as the memory limit allows.
        std::uint64_t need = 0;
        for (const Input& in : inputs) need += in.file->pageBytes() * in.file->pageCount();
        need += op.outputs.size() * first.file->pageBytes() * first.file->pageCount() * 4 /
                image::getImageBufferBaseSize(f0.type);
        if (need > options.maxMemory)
            fileError("too large to process whole: needs about " + gib(need) + ", over the memory limit of " +
                          gib(options.maxMemory) + " (--max-memory)",
                      first.file->path());
        for (const Input& in : inputs) images[in.argument] = readStack(*in.file, in.layout);
        progress.update(0.3);
        const auto given = outputsOfType(call, options, *images[first.argument]);
        const auto outs = compute(call, options, images, given, first.file->path(), std::nullopt);
        progress.update(0.6);
        for (std::size_t o = 0; o < outs.size(); ++o) {
            const StackLayout outLayout = layoutForOutput(*outs[o], first.layout);
            makeWriter(o, *outs[o], outs[o]->getSizeY(), outLayout);
            writeStack(*writers[o], *outs[o], outLayout);
        }
    }
    for (auto& w : writers) w->commit();
    progress.done();
}

}  // namespace vimra::cli
