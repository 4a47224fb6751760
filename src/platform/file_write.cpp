#include "platform/file_write.h"

#include "base/error_codes.h"
#include "base/language.h"
#include "base/uuid.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

namespace tidyreel {
namespace {

// Writes every byte, going on after short writes and interruptions; the errno value on failure.
int writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

// The new file keeps the permissions of the file it replaces.
void takeOverPermissions(int fd, const std::filesystem::path& file) {
    struct stat existing {};
    if (::stat(file.c_str(), &existing) == 0) {
        ::fchmod(fd, existing.st_mode & 07777);
    }
}

// Writes, flushes to the disk and closes; the first failure's errno value (a full disk may only show
// at the flush or the close).
int writeAndSync(int fd, std::string_view bytes) {
    int failure = writeAll(fd, bytes);
    if (failure == 0 && ::fsync(fd) != 0 && errno != EINVAL) {
        failure = errno;
    }
    if (::close(fd) != 0 && failure == 0 && errno != EINTR) {
        failure = errno;
    }
    return failure;
}

// Makes the rename itself durable; a folder that cannot be synced changes nothing about the result.
void syncFolder(const std::filesystem::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

Error writeError(const std::filesystem::path& file, int code) {
    return Error(
        FileSystemError::domain, code,
        fmt::format("{}: {} ({})", localized("Datei konnte nicht geschrieben werden", "Could not write file"),
                    file.string(), std::strerror(code)));
}

}  // namespace

void writeFileAtomically(const std::filesystem::path& file, std::string_view bytes) {
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
    const std::filesystem::path temporary = temporarySibling(file);
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        throw writeError(file, errno);
    }
    takeOverPermissions(fd, file);
    int failure = writeAndSync(fd, bytes);
    if (failure == 0 && ::rename(temporary.c_str(), file.c_str()) != 0) {
        failure = errno;
    }
    if (failure != 0) {
        ::unlink(temporary.c_str());
        throw writeError(file, failure);
    }
    syncFolder(folder);
}

std::string eventualName(const std::filesystem::path& file) {
    const std::string name = file.filename().string();
    const std::size_t marker = name.find(kTemporaryMarker);
    if (!name.starts_with('.') || marker == std::string::npos) {
        return name;
    }
    return name.substr(1, marker - 1) + file.extension().string();
}

std::filesystem::path temporarySibling(const std::filesystem::path& file) {
    const std::string name =
        "." + file.stem().string() + std::string(kTemporaryMarker) + newUuid() + file.extension().string();
    return file.has_parent_path() ? file.parent_path() / name : std::filesystem::path(name);
}

int removeTemporaryLeftovers(const std::filesystem::path& folder) {
    int removed = 0;
    std::error_code status;
    for (const auto& entry : std::filesystem::directory_iterator(folder, status)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with('.') && name.find(kTemporaryMarker) != std::string::npos &&
            entry.is_regular_file(status) && std::filesystem::remove(entry.path(), status)) {
            ++removed;
        }
    }
    return removed;
}

std::filesystem::path unusedPath(const std::filesystem::path& wanted) {
    std::error_code status;
    std::filesystem::path candidate = wanted;
    for (int number = 2; std::filesystem::exists(std::filesystem::symlink_status(candidate, status));
         ++number) {
        candidate = wanted.parent_path() /
                    (wanted.stem().string() + " " + std::to_string(number) + wanted.extension().string());
    }
    return candidate;
}

bool pathExists(const std::filesystem::path& path) noexcept {
    std::error_code status;
    return std::filesystem::exists(path, status);
}

Error fileSystemError(const std::string& what, const std::filesystem::path& path, std::error_code reason) {
    return Error(FileSystemError::domain, reason.value(),
                 fmt::format("{}: {} ({})", what, path.string(), reason.message()));
}

}  // namespace tidyreel
