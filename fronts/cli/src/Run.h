#pragma once

// Running one catalogue operation on files: inputs read, outputs written, page
// by page and band by band where the operation allows it.

#include "Stack.h"

#include <VIMRAIPL/VIMRAIPLArithmetic/Catalogue.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vimra::cli {

namespace catalogue = imaproc::arithm::catalogue;

struct RunOptions {
    eStackMode stack = eStackMode::eAuto;
    std::optional<image::eImageBufferType::domain> type;  ///< the outputs' buffer type
    std::optional<std::uint16_t> compression;             ///< else the first input's, where writable
    bool force = false;
    bool bigTiff = false;
    bool progress = false;
    unsigned threads = 0;  ///< 0: every worker the scheduler has
    std::uint64_t maxMemory = 0;
    /// Elements of one input band; smaller values make more, thinner bands; 0
    /// processes whole images.
    std::uint64_t bandElements = std::uint64_t{1} << 22;
};

struct OperationCall {
    const catalogue::OperationInfo* op = nullptr;
    /// The 3d form of a 2d operation (same arguments), used when an input is a volume.
    const catalogue::OperationInfo* volumeOp = nullptr;
    std::string commandName;                  ///< as typed, for messages and progress
    std::vector<catalogue::ArgumentValue> values;  ///< per argument; images are left unset here
    std::vector<std::optional<std::string>> imagePaths;  ///< per argument: the file of an image
    std::vector<std::string> outputs;
};

/// Half the machine's memory: what a run may hold before refusing to go on.
std::uint64_t defaultMaxMemory();

/// "512M", "4G", "1048576": bytes; a usage error otherwise.
std::uint64_t parseByteSize(const std::string& text);

/// Buffer type by its short name ("uint8", "float", ...); a usage error otherwise.
image::eImageBufferType::domain bufferTypeByName(const std::string& name);

/// Runs the call; throws Failure for anything the caller did not get.
void runOperation(const OperationCall& call, const RunOptions& options);

/// Operations that take text (formulas) may read around a pixel, so they get
/// whole images or pages rather than bands of rows.
bool readsNeighbourhoods(const catalogue::OperationInfo& op);

}  // namespace vimra::cli
