// libFuzzer target over the whole load path: an .sdz, .sd7 or bare .smf held in memory, the loader
// with mapinfo.lua in its sandbox, then the ground texture and the terrain mesh a frame would upload.
// Any crash, leak, overflow, undefined behaviour or message on more than one line is a bug.
#include "loadpath_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size)
{
    if (!CheckLoadPath({Data, Size}).empty())
        __builtin_trap();
    return 0;
}
