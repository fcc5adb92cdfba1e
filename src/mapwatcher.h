#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Tells when a map's files have changed and then stayed quiet long enough to be read whole: a map
// folder through inotify on it and its subfolders, an archive or a lone .smf by its size and
// modification time, polled. An exporter writes a map over seconds; reading it mid-write would give
// a half map, so a change only counts once QuietMs have passed without another.
class MapWatcher
{
  public:
    static constexpr std::uint64_t QuietMs = 600;
    static constexpr std::uint64_t PollMs = 250;

    MapWatcher() = default;
    MapWatcher(const MapWatcher&) = delete;
    MapWatcher& operator=(const MapWatcher&) = delete;
    ~MapWatcher();

    // Starts watching Path (what was there before counts as unchanged); false with a one-line
    // reason when it cannot be watched. Watching again replaces the earlier path.
    bool Watch(const std::string& Path, std::uint64_t NowMs, std::string& Error);
    void Stop();
    bool IsWatching() const { return !WatchedPath.empty(); }
    // True once per settled change: something changed and nothing has for QuietMs since.
    bool IsReloadDue(std::uint64_t NowMs);

  private:
    // Size and modification time of the archive or file, 0 when it is missing.
    std::uint64_t ReadFileStamp() const;
    bool DrainFolderEvents();

    std::string WatchedPath;
    int InotifyFd = -1;
    std::uint64_t FileStamp = 0;
    std::uint64_t LastPollMs = 0;
    std::uint64_t LastChangeMs = 0;
    bool bChangePending = false;
};
