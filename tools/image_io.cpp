#include "image_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>

namespace lumotool {
namespace {

std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

bool EndsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

std::string SystemError(const std::string& what, const std::string& path, int error) {
    return what + " '" + path + "': " + std::strerror(error);
}

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

// New files get the permissions the user's umask allows, as with fopen;
// mkstemp alone would leave them readable by the owner only.
void ApplyUmask(int fd) {
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, 0666 & ~mask);
}

}  // namespace

FileFormat FormatFromPath(const std::string& path) {
    const std::string lower = Lower(path);
    if (EndsWith(lower, ".png")) return FileFormat::kPng;
    if (EndsWith(lower, ".tif") || EndsWith(lower, ".tiff")) return FileFormat::kTiff;
    throw ToolError("cannot tell the output format of '" + path + "': name it .png, .tif or .tiff");
}

Image ReadImage(const std::string& path) {
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
    if (!file) throw ToolError(SystemError("cannot open", path, errno));
    unsigned char magic[8] = {};
    const size_t got = std::fread(magic, 1, sizeof magic, file.get());
    if (std::ferror(file.get())) throw ToolError(SystemError("cannot read", path, errno));
    if (got == 0) throw ToolError("'" + path + "' is empty");
    static constexpr unsigned char kPngMagic[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (got == 8 && std::memcmp(magic, kPngMagic, 8) == 0) {
        std::rewind(file.get());
        return ReadPng(file.get(), path);
    }
    // Classic and big TIFF, either byte order.
    const bool tiff = got >= 4 && ((magic[0] == 'I' && magic[1] == 'I' && (magic[2] == 42 || magic[2] == 43) && magic[3] == 0) ||
                                   (magic[0] == 'M' && magic[1] == 'M' && magic[2] == 0 && (magic[3] == 42 || magic[3] == 43)));
    if (tiff) {
        file.reset();
        return ReadTiff(path);
    }
    throw ToolError("'" + path + "' is neither a PNG nor a TIFF image");
}

void WriteImage(const std::string& path, const Image& image) {
    const FileFormat format = FormatFromPath(path);
    std::string temp = path + ".XXXXXX";
    const int fd = mkstemp(temp.data());
    if (fd < 0) throw ToolError(SystemError("cannot write", path, errno));
    ApplyUmask(fd);
    try {
        if (format == FileFormat::kPng) {
            std::FILE* file = fdopen(fd, "wb");
            if (!file) {
                const int error = errno;
                close(fd);
                throw ToolError(SystemError("cannot write", path, error));
            }
            std::unique_ptr<std::FILE, FileCloser> owner(file);
            WritePng(file, image, path);
            // A full disk often shows only when the buffer is flushed.
            if (std::fflush(file) != 0 || std::ferror(file)) throw ToolError(SystemError("cannot write", path, errno));
            if (std::fclose(owner.release()) != 0) throw ToolError(SystemError("cannot write", path, errno));
        } else {
            WriteTiff(fd, image, path);  // takes over the descriptor
        }
        if (std::rename(temp.c_str(), path.c_str()) != 0) throw ToolError(SystemError("cannot write", path, errno));
    } catch (...) {
        unlink(temp.c_str());
        throw;
    }
}

}  // namespace lumotool
