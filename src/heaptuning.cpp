#include "heaptuning.h"

#include <cstdint>
#include <cstdlib>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

// Loading a map allocates a few buffers of megabytes each (archive entries, the .smf's sections, tile
// data). By default each comes from a fresh mapping that is returned on free, so every 4 KiB page of
// every buffer costs a page fault, and in a virtual machine a fault costs about ten microseconds:
// 2,000 of them were half the time of loading a 4 MiB map. Here big buffers come from the heap, stay
// there for reuse after free, and the heap's first stretch is backed by 2 MiB pages where the kernel
// grants them, so a buffer costs a fault per 2 MiB instead.
void TuneHeapForMapLoading()
{
    constexpr std::size_t MiB = std::size_t(1) << 20;
    constexpr std::size_t HugePageBytes = 2 * MiB;
    mallopt(M_MMAP_THRESHOLD, static_cast<int>(32 * MiB)); // glibc's largest allowed value
    mallopt(M_TRIM_THRESHOLD, static_cast<int>(512 * MiB));
    mallopt(M_TOP_PAD, static_cast<int>(64 * MiB));
    // Grow the heap once (the block plus the pad), mark the new stretch, and give the block back to the
    // allocator: nothing is touched, so it costs address space only until used.
    void* block = std::malloc(16 * MiB);
    if (!block)
        return;
    const auto begin = (reinterpret_cast<std::uintptr_t>(block) + HugePageBytes - 1) & ~(HugePageBytes - 1);
    const auto end = reinterpret_cast<std::uintptr_t>(sbrk(0)) & ~(HugePageBytes - 1);
    // Only a stretch this call grew: under other allocators the block is not on the heap at all.
    if (end > begin && end - begin <= 96 * MiB)
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
    std::free(block);
}
