#include "LibraryPages.h"

#include "FileDescriptor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace pelorinnews {

namespace {

struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
};

struct Search {
    const std::vector<std::string_view> &names;
    std::uintptr_t ownCode;
    std::uintptr_t pageSize;
    std::vector<Range> found;
};

bool isWanted(const dl_phdr_info &library, const Search &search) {
    const std::string_view path(library.dlpi_name);
    const std::string_view file = path.substr(path.rfind('/') + 1);
    if (std::any_of(search.names.begin(), search.names.end(),
                    [&](std::string_view name) { return file.starts_with(name); }))
        return true;
    const auto *const segments = library.dlpi_phdr;
    return std::any_of(segments, segments + library.dlpi_phnum, [&](const auto &segment) {
        const std::uintptr_t begin = library.dlpi_addr + segment.p_vaddr;
        return segment.p_type == PT_LOAD && begin <= search.ownCode &&
               search.ownCode < begin + segment.p_memsz;
    });
}

int gather(dl_phdr_info *library, size_t, void *data) {
    auto &search = *static_cast<Search *>(data);
    // `dl_iterate_phdr` reports the executable, here the host, with an empty name.
    if (*library->dlpi_name == '\0' || !isWanted(*library, search))
        return 0;
    for (int i = 0; i < library->dlpi_phnum; ++i) {
        const auto &segment = library->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0)
            continue;
        const std::uintptr_t begin = library->dlpi_addr + segment.p_vaddr;
        search.found.push_back(
            {begin & ~(search.pageSize - 1), (begin + segment.p_memsz) & ~(search.pageSize - 1)});
    }
    return 0;
}

/// Whether every page of `range` that is in memory is still a page of the file, and not a private
/// copy.
bool isUnchanged(const FileDescriptor &pageMap, Range range, std::uintptr_t pageSize) {
    constexpr std::uint64_t present = std::uint64_t(1) << 63U;
    constexpr std::uint64_t swapped = std::uint64_t(1) << 62U;
    constexpr std::uint64_t ofFile = std::uint64_t(1) << 61U;
    std::array<std::uint64_t, 1024> entries{};
    std::uintptr_t page = range.begin / pageSize;
    const std::uintptr_t end = range.end / pageSize;
    while (page < end) {
        const std::size_t count = std::min(entries.size(), static_cast<std::size_t>(end - page));
        const auto size = static_cast<ssize_t>(count * sizeof entries[0]);
        const auto place = static_cast<off_t>(page * sizeof entries[0]);
        if (::pread(pageMap.get(), entries.data(), static_cast<std::size_t>(size), place) != size)
            return false;
        const bool changed = std::any_of(
            entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(count),
            [](std::uint64_t entry) {
                return (entry & swapped) != 0 || ((entry & present) != 0 && (entry & ofFile) == 0);
            });
        if (changed)
            return false;
        page += count;
    }
    return true;
}

}  // namespace

void releaseLibraryPages(const std::vector<std::string_view> &names) {
    const FileDescriptor pageMap(::open("/proc/self/pagemap", O_RDONLY | O_CLOEXEC));
    if (!pageMap.isValid())
        return;
    Search search{names,
                  reinterpret_cast<std::uintptr_t>(&releaseLibraryPages),
                  static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE)),
                  {}};
    ::dl_iterate_phdr(gather, &search);
    for (const Range &range : search.found) {
        if (range.begin < range.end && isUnchanged(pageMap, range, search.pageSize))
            ::madvise(std::bit_cast<void *>(range.begin), range.end - range.begin, MADV_DONTNEED);
    }
}

}  // namespace pelorinnews
