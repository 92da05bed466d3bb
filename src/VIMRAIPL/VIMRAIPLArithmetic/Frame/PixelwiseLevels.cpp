#include <VIMRAIPL/VIMRAIPLArithmetic/Frame/PixelwiseLevels.h>

namespace vimra::imaproc::arithm::detail {

const char* levelSuffix(eLevel level) {
    switch (level) {
        case eLevel::eLvl1: return "Lvl1";
        case eLevel::eLvl2: return "Lvl2";
        case eLevel::eLvl3: return "Lvl3";
    }
    return "";
}

}  // namespace vimra::imaproc::arithm::detail
