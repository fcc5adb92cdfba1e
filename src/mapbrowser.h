#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <SDL3/SDL_events.h>

#include "mapcatalog.h"

class FontMetrics;
class Mouse;
class PixelCanvas;

// The map browser (Tab, or --browse): a panel over the view listing the maps of some folders with
// each one's name, size, packing and minimap thumbnail, narrowed by typing, opened with Enter or a
// click. The folders are read on a worker thread, the list first and then each map's facts (the rows
// on screen first, each map once), so the frame loop never waits for a disk or a big archive.
class MapBrowser
{
  public:
    static constexpr int RowHeightPx = 40;

    MapBrowser() = default;
    MapBrowser(const MapBrowser&) = delete;
    MapBrowser& operator=(const MapBrowser&) = delete;
    ~MapBrowser();

    bool IsOpen() const { return bOpen; }
    // Shows the panel; the first time, or with other folders, starts reading them afresh.
    void Open(const std::vector<std::string>& Folders);
    void Close() { bOpen = false; }

    // While open: typed text narrows the list, Backspace takes a character back, Up/Down/Page
    // Up/Page Down move the choice, Enter chooses it, Escape or Tab close the panel. True when the
    // event was the browser's; ChosenPath is set on Enter.
    bool HandleEvent(const SDL_Event& Event, std::string& ChosenPath);
    // One frame of the pointer (window pixels), every frame while open: a left press on a row
    // chooses that map.
    bool HandleMouse(const Mouse& MouseState, int WidthPx, int AvailableHeightPx, std::string& ChosenPath);

    // The maps whose name or file name holds the filter (ignoring case), as read so far.
    std::vector<MapListing> GetShown() const;
    const std::string& GetFilter() const { return Filter; }
    int GetChoice() const { return Choice; }
    bool IsScanDone() const;

    // ThumbnailId: the backend's picture (a GL texture) of a listing's thumbnail, asked only for
    // listings that have one.
    void Render(const PixelCanvas& Canvas, const FontMetrics& Metrics, int AvailableHeightPx,
                const std::function<std::uint32_t(const MapListing&)>& ThumbnailId) const;

  private:
    struct Scan
    {
        std::mutex Mutex;
        std::vector<MapListing> Maps;
        std::vector<std::string> WantedPaths; // the rows on screen, read before the others
        bool bDone = false;
    };
    struct Box
    {
        double X1Px = 0, Y1Px = 0, X2Px = 0, Y2Px = 0;
        double FirstRowYPx = 0;
        int RowCount = 0; // rows that fit
    };
    static Box GetBox(int WidthPx, int AvailableHeightPx);
    // The worker: lists the folders, then reads each map's facts, wanted ones first.
    static void ScanFolders(const std::vector<std::string>& Folders, Scan& Into, std::stop_token Stop);
    void StopScan();
    void MoveChoice(int Step);

    std::shared_ptr<Scan> pScan;
    std::jthread Worker;
    std::vector<std::string> ScannedFolders;
    std::string Filter;
    int Choice = 0;
    int FirstRow = 0; // the top row shown, so the choice stays in view
    int LastRowCount = 1;
    bool bOpen = false;
};
