// vimra-arith: every operation of the arithmetic library on TIFF files. The
// operation subcommands, their arguments and their help are built from the
// library's operation catalogue; nothing here is written per operation.

#include "Failure.h"
#include "Interrupt.h"
#include "Run.h"
#include "Stack.h"
#include "TiffIo.h"

#include <vimra/core/BaseException.h>
#include <vimra/core/InstructionSet.h>

#include <CLI/CLI.hpp>
#include <tiffio.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <deque>
#include <iostream>
#include <sstream>

namespace vimra::cli {
namespace {

std::string kebab(std::string name) {
    std::replace(name.begin(), name.end(), '_', '-');
    return name;
}

const char* kindName(catalogue::eArgumentKind k) {
    switch (k) {
        case catalogue::eArgumentKind::eImage: return "image";
        case catalogue::eArgumentKind::eNumber: return "number";
        case catalogue::eArgumentKind::eRange: return "range";
        case catalogue::eArgumentKind::eBufferType: return "buffer type";
        case catalogue::eArgumentKind::eText: return "text";
        default: return "other";
    }
}

std::string jsonString(const std::string& s) {
    std::string out = "\"";
    for (const unsigned char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            out += buf;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

// Required images and texts are positional; everything else is an option.
bool isPositional(const catalogue::ArgumentInfo& a) {
    return !a.optional && (a.kind == catalogue::eArgumentKind::eImage || a.kind == catalogue::eArgumentKind::eText);
}

/// A tool tip without the "Level 1 algorithm: " that every level-1 class starts with.
std::string describeOperation(const catalogue::OperationInfo& op) {
    const std::string& t = op.toolTip;
    const auto colon = t.find(": ");
    return t.rfind("Level ", 0) == 0 && colon != std::string::npos ? t.substr(colon + 2) : t;
}

std::string helpFooter(const catalogue::OperationInfo& op) {
    std::ostringstream s;
    s << "Outputs (one -o FILE each, in this order):\n";
    for (const auto& o : op.outputs)
        s << "  " << o.name << ": " << (o.typeRule.empty() ? "buffer type chosen by the operation" : o.typeRule)
          << "\n";
    s << "Overflow: integer results outside the output type wrap around in the portable kernels and saturate\n"
         "in the vector kernels (both agree whenever the result fits); float to integer truncates toward zero.\n"
         "Choose a wider --type to keep exact results. Details per operation: docs/operations.md.\n"
         "Exit codes: 0 success, 1 processing error, 2 usage error, 3 file error, 130 interrupted.";
    return s.str();
}

/// The values one operation subcommand collects.
struct OperationOptions {
    const catalogue::OperationInfo* op = nullptr;
    const catalogue::OperationInfo* volumeOp = nullptr;
    CLI::App* command = nullptr;
    std::vector<std::string> text;       ///< per argument: image path, text, buffer type name
    std::vector<double> numbers;         ///< per argument
    std::vector<std::vector<double>> ranges;
    std::vector<CLI::Option*> given;     ///< per argument: its option (null for eOther)
    std::vector<std::string> outputs;
};

struct RunSettings {
    std::string stack = "auto", type, compression, isa, maxMemory;
    std::uint64_t bandElements = RunOptions{}.bandElements;
    bool force = false, bigTiff = false, progress = false, gpu = false, noGpu = false;
    unsigned threads = 0;
};

void addRunOptions(CLI::App& cmd, RunSettings& s) {
    const char* group = "Run options";
    cmd.add_option("--stack", s.stack, "how pages make an image: auto (ImageJ description, else volume), volume, "
                                       "sequence, pages (each page on its own)")
        ->group(group);
    cmd.add_option("--type", s.type, "buffer type of the outputs (uint8, int16, float, ...); default: the operation's "
                                     "rule")
        ->group(group);
    cmd.add_option("--compression", s.compression,
                   "none, lzw, deflate, packbits, zstd, lzma; default: the first input's where it can be written")
        ->group(group);
    cmd.add_flag("--force", s.force, "replace existing output files")->group(group);
    cmd.add_flag("--bigtiff", s.bigTiff, "write BigTIFF whatever the size (chosen anyway above about 3.9 GiB)")
        ->group(group);
    cmd.add_option("--threads", s.threads, "worker threads at most (0: all)")->group(group);
    cmd.add_option("--isa", s.isa, "highest instruction set: standard, sse2, avx, avx2, avx512")->group(group);
    cmd.add_flag("--gpu", s.gpu, "use the GPU path where the operation has one")->group(group);
    cmd.add_flag("--no-gpu", s.noGpu, "never use the GPU")->group(group);
    cmd.add_flag("--progress", s.progress, "show progress on stderr even when it is not a terminal")->group(group);
    cmd.add_option("--max-memory", s.maxMemory, "memory a run may hold (e.g. 2G); default: half the machine's")
        ->group(group);
    // Band size (0: whole images), for tests that cut small files into many bands
    // or take them whole; not for users.
    cmd.add_option("--band-elements", s.bandElements)->group("");
}

RunOptions runOptions(const RunSettings& s) {
    RunOptions o;
    o.stack = stackModeByName(s.stack);
    if (!s.type.empty()) o.type = bufferTypeByName(s.type);
    if (!s.compression.empty()) o.compression = compressionByName(s.compression);
    o.force = s.force;
    o.bigTiff = s.bigTiff;
    o.progress = s.progress;
    o.threads = s.threads;
    o.bandElements = s.bandElements;
    o.maxMemory = s.maxMemory.empty() ? defaultMaxMemory() : parseByteSize(s.maxMemory);
    if (!s.isa.empty()) {
        const std::pair<const char*, eInstructionSet::domain> sets[] = {
            {"standard", eInstructionSet::eStandard}, {"sse2", eInstructionSet::eSSE2},
            {"avx", eInstructionSet::eAVX},           {"avx2", eInstructionSet::eAVX2},
            {"avx512", eInstructionSet::eAVX512}};
        const auto it = std::find_if(std::begin(sets), std::end(sets), [&](const auto& e) { return s.isa == e.first; });
        if (it == std::end(sets)) usageError("unknown instruction set '" + s.isa + "' (standard, sse2, avx, avx2, avx512)");
        core::limitInstructionSets(it->second);
    }
    if (s.gpu && s.noGpu) usageError("--gpu and --no-gpu together");
    if (s.gpu) std::fprintf(stderr, "vimra-arith: note: this build has no GPU path; running on the processor\n");
    core::setGpuSupportActivated(false);
    return o;
}

/// The names a formula gives its inputs and its border, as extra option names:
/// img1 is --I1, bin_img2 --B2, lab_img3 --L3, convol_border --border (names
/// without their dimension).
std::string formulaAlias(const std::string& argument) {
    const auto numbered = [&](const std::string& prefix, const char* letter) -> std::string {
        if (argument.size() != prefix.size() + 1 || argument.compare(0, prefix.size(), prefix) != 0 ||
            !std::isdigit(static_cast<unsigned char>(argument.back())))
            return {};
        return std::string(",--") + letter + argument.back();
    };
    for (const auto& [prefix, letter] : {std::pair{"img", "I"}, {"bin_img", "B"}, {"lab_img", "L"}})
        if (std::string alias = numbered(prefix, letter); !alias.empty()) return alias;
    if (argument == "convol_border") return ",--border";
    return {};
}

/// An argument's name without its "2d"/"3d": the 2d and 3d forms of an operation
/// name their images, formula and border by their dimension (img1, img3d1).
std::string withoutDimension(std::string name) {
    for (const char* d : {"2d", "3d"})
        if (const auto at = name.find(d); at != std::string::npos) return name.erase(at, 2);
    return name;
}

void addOperation(CLI::App& app, std::deque<OperationOptions>& all, RunSettings& settings,
                  const catalogue::OperationInfo& op, const std::string& name) {
    OperationOptions& o = all.emplace_back();
    o.op = &op;
    const std::size_t n = op.arguments.size();
    o.text.resize(n);
    o.numbers.resize(n);
    o.ranges.resize(n);
    o.given.resize(n, nullptr);
    CLI::App* cmd = app.add_subcommand(name, describeOperation(op));
    o.command = cmd;
    cmd->footer(helpFooter(op));
    for (std::size_t i = 0; i < n; ++i) {
        const catalogue::ArgumentInfo& a = op.arguments[i];
        const std::string flag = isPositional(a) ? a.name : "--" + kebab(a.name) + formulaAlias(withoutDimension(a.name));
        switch (a.kind) {
            case catalogue::eArgumentKind::eImage:
                o.given[i] = cmd->add_option(flag, o.text[i], "input image (TIFF)")->type_name("FILE");
                break;
            case catalogue::eArgumentKind::eText:
                o.given[i] = cmd->add_option(flag, o.text[i], "text")->type_name("TEXT");
                break;
            case catalogue::eArgumentKind::eNumber:
                o.given[i] = cmd->add_option(flag, o.numbers[i], "number")->type_name("NUMBER");
                if (a.optional) o.given[i]->description("number (default " + CLI::detail::to_string(a.defaultValue) + ")");
                break;
            case catalogue::eArgumentKind::eRange:
                o.given[i] = cmd->add_option(flag, o.ranges[i], "range: MIN,MAX")
                                 ->type_name("MIN,MAX")
                                 ->delimiter(',')
                                 ->expected(2);
                break;
            case catalogue::eArgumentKind::eBufferType:
                o.given[i] = cmd->add_option(flag, o.text[i], "buffer type (uint8, int16, float, ...)")
                                 ->type_name("TYPE");
                break;
            default:
                break;  // not expressible on a command line: the operation's default applies
        }
        if (o.given[i] && !a.optional) o.given[i]->required();
    }
    cmd->add_option("-o,--output", o.outputs,
                    op.outputs.size() == 1 ? "output file" : "output files, one -o each, in output order")
        ->required()
        ->type_name("FILE")
        ->allow_extra_args(false);
    addRunOptions(*cmd, settings);
}

OperationCall callOf(const OperationOptions& o) {
    OperationCall call;
    call.op = o.op;
    call.volumeOp = o.volumeOp;
    call.commandName = o.command->get_name();
    call.outputs = o.outputs;
    const std::size_t n = o.op->arguments.size();
    call.values.resize(n);
    call.imagePaths.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const catalogue::ArgumentInfo& a = o.op->arguments[i];
        if (!o.given[i] || o.given[i]->count() == 0) continue;  // unset: the operation's default
        switch (a.kind) {
            case catalogue::eArgumentKind::eImage: call.imagePaths[i] = o.text[i]; break;
            case catalogue::eArgumentKind::eText: call.values[i] = o.text[i]; break;
            case catalogue::eArgumentKind::eNumber: call.values[i] = o.numbers[i]; break;
            case catalogue::eArgumentKind::eRange:
                call.values[i] = processor::Range{o.ranges[i].at(0), o.ranges[i].at(1)};
                break;
            case catalogue::eArgumentKind::eBufferType: call.values[i] = bufferTypeByName(o.text[i]); break;
            default: break;
        }
    }
    return call;
}

void listOperations(bool json) {
    const auto& ops = catalogue::operations();
    if (!json) {
        std::size_t width = 0;
        for (const auto& op : ops) width = std::max(width, op.kebabName().size());
        for (const auto& op : ops)
            std::printf("  %-*s  %s\n", static_cast<int>(width), op.kebabName().c_str(),
                        describeOperation(op).c_str());
        return;
    }
    std::string s = "[";
    for (std::size_t k = 0; k < ops.size(); ++k) {
        const auto& op = ops[k];
        s += std::string(k ? ",\n " : "\n ") + "{\"name\": " + jsonString(op.kebabName()) +
             ", \"entry\": " + jsonString(op.entryName) + ", \"toolTip\": " + jsonString(op.toolTip) +
             ", \"arguments\": [";
        for (std::size_t i = 0; i < op.arguments.size(); ++i) {
            const auto& a = op.arguments[i];
            s += std::string(i ? ", " : "") + "{\"name\": " + jsonString(a.name) + ", \"kind\": " +
                 jsonString(kindName(a.kind)) + ", \"optional\": " + (a.optional ? "true" : "false");
            if (a.optional && a.kind == catalogue::eArgumentKind::eNumber)
                s += ", \"default\": " + CLI::detail::to_string(a.defaultValue);
            s += "}";
        }
        s += "], \"outputs\": [";
        for (std::size_t i = 0; i < op.outputs.size(); ++i)
            s += std::string(i ? ", " : "") + "{\"name\": " + jsonString(op.outputs[i].name) +
                 ", \"typeRule\": " + jsonString(op.outputs[i].typeRule) + "}";
        s += "]}";
    }
    s += "\n]\n";
    std::fputs(s.c_str(), stdout);
}

void showInfo(const std::string& path, const std::string& stack, std::uint64_t maxMemory) {
    TiffReader file(path, maxMemory);
    const PageFormat& f = file.format();
    const Metadata& m = file.metadata();
    const StackLayout layout = layoutOf(file, stackModeByName(stack));
    std::printf("file:        %s\n", path.c_str());
    std::printf("format:      %s, %s-endian\n", m.bigTiff ? "BigTIFF" : "TIFF", m.bigEndian ? "big" : "little");
    std::printf("pages:       %llu\n", static_cast<unsigned long long>(file.pageCount()));
    std::printf("page:        %ux%u, %u sample%s of %s\n", f.width, f.height, f.samples, f.samples == 1 ? "" : "s",
                image::bufferTypeName(f.type));
    const std::string compression =
        f.compression == COMPRESSION_NONE ? "uncompressed" : compressionName(f.compression) + " compression";
    std::printf("storage:     %s, %s, planar %s\n",
                f.tiled ? ("tiles of " + std::to_string(f.tileWidth) + "x" + std::to_string(f.tileHeight)).c_str()
                        : ("strips of " + std::to_string(f.rowsPerStrip) + " rows").c_str(),
                compression.c_str(), f.planar == PLANARCONFIG_SEPARATE ? "separate" : "contiguous");
    const char* photometric = f.photometric == PHOTOMETRIC_MINISWHITE ? "min-is-white"
                              : f.photometric == PHOTOMETRIC_RGB      ? "RGB"
                              : f.photometric == PHOTOMETRIC_SEPARATED ? "separated (CMYK)"
                                                                       : "min-is-black";
    std::printf("photometric: %s\n", photometric);
    if (m.hasResolution)
        std::printf("resolution:  %g x %g per %s\n", m.xResolution, m.yResolution,
                    m.resolutionUnit == RESUNIT_CENTIMETER ? "cm" : m.resolutionUnit == RESUNIT_INCH ? "inch" : "unit");
    if (!m.description.empty()) {
        const std::string firstLine = m.description.substr(0, m.description.find('\n'));
        std::printf("description: %s%s\n", firstLine.c_str(), firstLine.size() < m.description.size() ? " ..." : "");
    }
    std::printf("image:       %s%s\n", layout.describe(f.type, f.width, f.height).toString().c_str(),
                stack == "pages" ? " (each page)" : "");
}

int report(const Failure& f) {
    std::fprintf(stderr, "vimra-arith: error: %s\n", f.line().c_str());
    return static_cast<int>(f.code());
}

int run(int argc, char** argv) {
    CLI::App app{"vimra-arith: the arithmetic library's operations on TIFF images and stacks.\n"
                 "  vimra-arith list                      the operations\n"
                 "  vimra-arith OP --help                 an operation's inputs, parameters and outputs\n"
                 "  vimra-arith add a.tif b.tif -o c.tif  run one",
                 "vimra-arith"};
    app.set_version_flag("--version", "vimra-arith " VIMRA_ARITH_VERSION);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 success, 1 processing error, 2 usage error, 3 file error, 130 interrupted.");

    bool json = false;
    app.add_subcommand("list", "the operations, with their one-line descriptions")
        ->add_flag("--json", json, "as JSON, with arguments and outputs");
    std::string infoPath, infoStack = "auto";
    CLI::App* info = app.add_subcommand("info", "what a TIFF file holds and how it is read");
    info->add_option("file", infoPath, "TIFF file")->required()->type_name("FILE");
    info->add_option("--stack", infoStack, "auto, volume, sequence or pages");

    RunSettings settings;
    std::deque<OperationOptions> operations;
    for (const auto& op : catalogue::operations()) addOperation(app, operations, settings, op, op.kebabName());
    // An operation with a 2d and a 3d form (same arguments) also gets a name of
    // its own that picks the form from the inputs.
    for (const auto& op : catalogue::operations()) {
        const std::string name = op.kebabName();
        if (name.size() < 3 || name.compare(name.size() - 2, 2, "2d") != 0) continue;
        const std::string base = name.substr(0, name.size() - 2);
        const catalogue::OperationInfo* volume = catalogue::findOperation(base + "3d");
        if (!volume || catalogue::findOperation(base) || volume->arguments.size() != op.arguments.size() ||
            !std::equal(op.arguments.begin(), op.arguments.end(), volume->arguments.begin(),
                        [](const auto& a, const auto& b) {
                            return withoutDimension(a.name) == withoutDimension(b.name) && a.kind == b.kind;
                        }))
            continue;
        addOperation(app, operations, settings, op, base);
        operations.back().volumeOp = volume;
        operations.back().command->description(describeOperation(op) + " (the 3d form when an input is a volume)");
    }

    // An unknown operation is named as such, not as a missing subcommand.
    const auto known = [&](const std::string& name) {
        const auto subs = app.get_subcommands([&](CLI::App* sub) { return sub->check_name(name); });
        return !subs.empty();
    };
    if (argc > 1 && argv[1][0] != '-' && !known(argv[1]))
        return report(Failure(eExit::eUsage, std::string("unknown operation '") + argv[1] +
                                                 "' (vimra-arith list shows them)"));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0) return app.exit(e);  // --help, --version
        std::fprintf(stderr, "vimra-arith: error: %s (see vimra-arith --help)\n", e.what());
        return static_cast<int>(eExit::eUsage);
    }
    try {
        if (app.got_subcommand("list")) {
            listOperations(json);
            return 0;
        }
        if (app.got_subcommand(info)) {
            showInfo(infoPath, infoStack, defaultMaxMemory());
            return 0;
        }
        for (const auto& o : operations)
            if (o.command->parsed()) {
                runOperation(callOf(o), runOptions(settings));
                return 0;
            }
        return static_cast<int>(eExit::eUsage);
    } catch (const Failure& f) {
        return report(f);
    } catch (const core::BaseException& e) {
        return report(Failure(eExit::eProcessing, e.what()));
    } catch (const std::bad_alloc&) {
        return report(Failure(eExit::eProcessing, "out of memory"));
    }
}

}  // namespace
}  // namespace vimra::cli

int main(int argc, char** argv) {
    vimra::cli::installInterruptHandling();
    return vimra::cli::run(argc, argv);
}
