// A file of the user, or what comes through a pipe, as the library reads it.
#ifndef QUORV_TOOLS_QUORV_FILESOURCE_H
#define QUORV_TOOLS_QUORV_FILESOURCE_H

#include <quorv/quorv.h>
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quorv::tool {

// A file descriptor with one owner.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor &&other) noexcept : number_(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept;
    ~Descriptor();

    int get() const { return number_; }
    int release();

private:
    int number_ = -1;
};

class FileSource {
public:
    // Opens the file, or standard input for "-", and reads its first bytes. Throws Failure.
    explicit FileSource(const std::string &path);
    FileSource(const FileSource &) = delete;
    FileSource &operator=(const FileSource &) = delete;

    // The first bytes, as many as there are up to a few kilobytes.
    std::span<const uint8_t> head() const { return head_; }
    bool is_seekable() const { return seekable_; }
    // Copies a pipe to a temporary file; until then only head() is known of it.
    void make_seekable();
    // What a pipe brings next behind head(), as much as is there; 0 bytes at its end. Throws Failure.
    size_t read_on(std::span<uint8_t> to);
    uint64_t size() const { return size_; }
    // Whether a file's fstat is that of this one.
    bool is_same_file(const struct stat &other) const;
    // Whether it has another size or time now than when it was opened.
    bool has_changed() const;
    // Reads at a position, fewer bytes only at the end of the file.
    size_t read_at(uint64_t position, std::span<uint8_t> to);

    // For the library's readers; this object must outlive them.
    QuorvSource source();
    // The system's error number of the first failed read, 0 when there was none.
    int first_error() const { return first_error_; }
    // Where the latest read ended, for the display of progress.
    uint64_t progress() const { return progress_; }

private:
    size_t read_some(uint64_t position, uint8_t *to, size_t count);
    void open_path(const std::string &path);
    void read_head();

    Descriptor file_;
    bool seekable_ = true;
    struct stat identity_ = {};
    uint64_t size_ = 0;
    uint64_t progress_ = 0;
    int first_error_ = 0;
    std::vector<uint8_t> head_;
};

}  // namespace quorv::tool

#endif
