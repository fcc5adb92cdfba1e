#include "mapwatcher.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
constexpr std::uint32_t FolderEvents =
    IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB;
}

MapWatcher::~MapWatcher()
{
    Stop();
}

void MapWatcher::Stop()
{
    if (InotifyFd >= 0)
        close(InotifyFd);
    InotifyFd = -1;
    WatchedPath.clear();
    bChangePending = false;
}

bool MapWatcher::Watch(const std::string& Path, std::uint64_t NowMs, std::string& Error)
{
    Stop();
    std::error_code ec;
    const fs::file_status status = fs::status(Path, ec);
    if (!fs::exists(status))
    {
        Error = Path + ": cannot watch (" + (ec ? ec.message() : "No such file or directory") + ")";
        return false;
    }
    if (fs::is_directory(status))
    {
        InotifyFd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        if (InotifyFd < 0 || inotify_add_watch(InotifyFd, Path.c_str(), FolderEvents) < 0)
        {
            Error = Path + ": cannot watch (" + std::strerror(errno) + ")";
            Stop();
            return false;
        }
        // Tile files and mapinfo includes sit in subfolders; one that cannot be watched is skipped.
        for (fs::recursive_directory_iterator it(Path, ec), end; !ec && it != end; it.increment(ec))
            if (it->is_directory(ec))
                inotify_add_watch(InotifyFd, it->path().c_str(), FolderEvents);
    }
    WatchedPath = Path;
    FileStamp = ReadFileStamp();
    LastPollMs = LastChangeMs = NowMs;
    return true;
}

std::uint64_t MapWatcher::ReadFileStamp() const
{
    struct stat info
    {
    };
    if (stat(WatchedPath.c_str(), &info) != 0)
        return 0;
    const std::uint64_t nanoseconds = static_cast<std::uint64_t>(info.st_mtim.tv_sec) * 1000000000u +
                                      static_cast<std::uint64_t>(info.st_mtim.tv_nsec);
    // Any change of either moves the stamp; a collision would need both to change in step.
    return nanoseconds * 1000003u + static_cast<std::uint64_t>(info.st_size) + 1;
}

bool MapWatcher::DrainFolderEvents()
{
    alignas(inotify_event) char buffer[4096];
    bool bAny = false;
    ssize_t bytes = 0;
    while ((bytes = read(InotifyFd, buffer, sizeof(buffer))) > 0)
    {
        bAny = true;
        // A folder made by the exporter is watched too, so the files written into it are seen.
        for (char* at = buffer; at < buffer + bytes;)
        {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            if ((event->mask & IN_CREATE) && (event->mask & IN_ISDIR) && event->len > 0)
            {
                std::error_code ec;
                for (fs::recursive_directory_iterator it(WatchedPath, ec), end; !ec && it != end;
                     it.increment(ec))
                    if (it->is_directory(ec))
                        inotify_add_watch(InotifyFd, it->path().c_str(), FolderEvents);
            }
            at += sizeof(inotify_event) + event->len;
        }
    }
    return bAny;
}

bool MapWatcher::IsReloadDue(std::uint64_t NowMs)
{
    if (WatchedPath.empty())
        return false;
    bool bChanged = false;
    if (InotifyFd >= 0)
        bChanged = DrainFolderEvents();
    else if (NowMs - LastPollMs >= PollMs)
    {
        LastPollMs = NowMs;
        const std::uint64_t stamp = ReadFileStamp();
        bChanged = stamp != FileStamp;
        FileStamp = stamp;
    }
    if (bChanged)
    {
        bChangePending = true;
        LastChangeMs = NowMs;
    }
    if (!bChangePending || NowMs - LastChangeMs < QuietMs)
        return false;
    bChangePending = false;
    return true;
}
