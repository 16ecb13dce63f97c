// Files that the page reads: the two functions that the module imports, as a source of the library.

#include <quorv/quorv.h>

extern "C" {

// The page answers as QuorvSource's functions do. A double holds every offset that a page can have.
[[clang::import_module("page"), clang::import_name("read_at")]] int32_t quorv_page_read_at(uint32_t file,
                                                                                           double offset,
                                                                                           void *buffer,
                                                                                           uint32_t size);
[[clang::import_module("page"), clang::import_name("size")]] double quorv_page_size(uint32_t file);

// Opens the page's file of that number, or tries once more, as quorv_open_source does.
QuorvResult quorv_open_page(uint32_t file, QuorvReader **reader);
}

static uint32_t file_of(void *user) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(user));
}

QuorvResult quorv_open_page(uint32_t file, QuorvReader **reader) {
    const QuorvSource source = {
        reinterpret_cast<void *>(uintptr_t{file}),
        [](void *user, uint64_t offset, void *buffer, size_t size) -> int64_t {
            return quorv_page_read_at(file_of(user), static_cast<double>(offset), buffer, size);
        },
        [](void *user) { return static_cast<int64_t>(quorv_page_size(file_of(user))); },
        nullptr,
    };
    return quorv_open_source(&source, reader);
}
