#include "mapbrowser.h"

#include <algorithm>
#include <cctype>

#include "fontmetrics.h"
#include "glcolor.h"
#include "mouse.h"
#include "pixelcanvas.h"

namespace
{
constexpr int MarginPx = 8;
constexpr int PaddingPx = 10;
constexpr int HeaderPx = 44; // title and filter lines
constexpr int FooterPx = 22;
constexpr int ThumbnailPx = 32;

std::string Lower(std::string Text)
{
    std::transform(Text.begin(), Text.end(), Text.begin(), [](unsigned char c) { return std::tolower(c); });
    return Text;
}

bool Matches(const MapListing& Listing, const std::string& LowerFilter)
{
    return LowerFilter.empty() || Lower(Listing.Name).find(LowerFilter) != std::string::npos ||
           Lower(Listing.Path.substr(Listing.Path.find_last_of('/') + 1)).find(LowerFilter) !=
               std::string::npos;
}
} // namespace

MapBrowser::~MapBrowser()
{
    StopScan();
}

void MapBrowser::StopScan()
{
    if (Worker.joinable())
    {
        Worker.request_stop();
        Worker.join();
    }
}

void MapBrowser::Open(const std::vector<std::string>& Folders)
{
    bOpen = true;
    if (pScan && Folders == ScannedFolders)
        return;
    StopScan();
    ScannedFolders = Folders;
    pScan = std::make_shared<Scan>();
    Choice = FirstRow = 0;
    Worker =
        std::jthread([Folders, scan = pScan](std::stop_token Stop) { ScanFolders(Folders, *scan, Stop); });
}

void MapBrowser::ScanFolders(const std::vector<std::string>& Folders, Scan& Into, std::stop_token Stop)
{
    std::vector<MapListing> all;
    for (const std::string& folder : Folders)
        for (MapListing& listing : ListMapsInFolder(folder))
            all.push_back(std::move(listing));
    {
        const std::lock_guard<std::mutex> lock(Into.Mutex);
        Into.Maps = all;
    }
    for (std::size_t left = all.size(); left > 0 && !Stop.stop_requested(); --left)
    {
        std::size_t next = 0;
        {
            const std::lock_guard<std::mutex> lock(Into.Mutex);
            const auto unread = [&](const std::string& path)
            {
                return std::find_if(all.begin(), all.end(),
                                    [&](const MapListing& m)
                                    { return !m.bRead && (path.empty() || m.Path == path); });
            };
            auto it = all.end();
            for (const std::string& path : Into.WantedPaths)
                if ((it = unread(path)) != all.end())
                    break;
            next = static_cast<std::size_t>((it != all.end() ? it : unread("")) - all.begin());
        }
        ReadMapListing(all[next]);
        const std::lock_guard<std::mutex> lock(Into.Mutex);
        Into.Maps[next] = all[next];
    }
    const std::lock_guard<std::mutex> lock(Into.Mutex);
    Into.bDone = true;
}

bool MapBrowser::IsScanDone() const
{
    if (!pScan)
        return false;
    const std::lock_guard<std::mutex> lock(pScan->Mutex);
    return pScan->bDone;
}

std::vector<MapListing> MapBrowser::GetShown() const
{
    std::vector<MapListing> shown;
    if (!pScan)
        return shown;
    const std::string filter = Lower(Filter);
    const std::lock_guard<std::mutex> lock(pScan->Mutex);
    for (const MapListing& listing : pScan->Maps)
        if (Matches(listing, filter))
            shown.push_back(listing);
    return shown;
}

void MapBrowser::MoveChoice(int Step)
{
    const int count = static_cast<int>(GetShown().size());
    Choice = std::clamp(Choice + Step, 0, std::max(count - 1, 0));
    if (Choice < FirstRow)
        FirstRow = Choice;
    if (Choice >= FirstRow + LastRowCount)
        FirstRow = Choice - LastRowCount + 1;
}

bool MapBrowser::HandleEvent(const SDL_Event& Event, std::string& ChosenPath)
{
    if (!bOpen)
        return false;
    if (Event.type == SDL_EVENT_TEXT_INPUT && Event.text.text)
    {
        Filter += Event.text.text;
        Choice = FirstRow = 0;
        return true;
    }
    if (Event.type != SDL_EVENT_KEY_DOWN)
        return false;
    switch (Event.key.key)
    {
    case SDLK_ESCAPE:
    case SDLK_TAB:
        bOpen = false;
        return true;
    case SDLK_BACKSPACE:
        // One UTF-8 character: continuation bytes go with their lead byte.
        while (!Filter.empty() && (static_cast<unsigned char>(Filter.back()) & 0xC0) == 0x80)
            Filter.pop_back();
        if (!Filter.empty())
            Filter.pop_back();
        Choice = FirstRow = 0;
        return true;
    case SDLK_UP:
    case SDLK_DOWN:
        MoveChoice(Event.key.key == SDLK_UP ? -1 : 1);
        return true;
    case SDLK_PAGEUP:
    case SDLK_PAGEDOWN:
        MoveChoice(Event.key.key == SDLK_PAGEUP ? -LastRowCount : LastRowCount);
        return true;
    case SDLK_RETURN:
    case SDLK_KP_ENTER:
        if (const std::vector<MapListing> shown = GetShown(); Choice < static_cast<int>(shown.size()))
            ChosenPath = shown[static_cast<std::size_t>(Choice)].Path;
        return true;
    default:
        return true; // every other key belongs to the panel while it is open
    }
}

MapBrowser::Box MapBrowser::GetBox(int WidthPx, int AvailableHeightPx)
{
    Box box;
    const double width = std::min(WidthPx - 2.0 * MarginPx, 720.0);
    box.X1Px = (WidthPx - width) * 0.5;
    box.X2Px = box.X1Px + width;
    box.Y1Px = MarginPx;
    box.Y2Px = std::max<double>(box.Y1Px + HeaderPx + FooterPx + RowHeightPx, AvailableHeightPx - MarginPx);
    box.FirstRowYPx = box.Y1Px + HeaderPx;
    box.RowCount = std::max(1, static_cast<int>((box.Y2Px - box.Y1Px - HeaderPx - FooterPx) / RowHeightPx));
    return box;
}

bool MapBrowser::HandleMouse(const Mouse& MouseState, int WidthPx, int AvailableHeightPx,
                             std::string& ChosenPath)
{
    if (!bOpen)
        return false;
    const Box box = GetBox(WidthPx, AvailableHeightPx);
    LastRowCount = box.RowCount; // for Page Up and Page Down
    if (!MouseState.pButton[Mouse::Left] || MouseState.pPrevButton[Mouse::Left])
        return false;
    const double x = MouseState.X, y = MouseState.Y;
    if (x < box.X1Px || x > box.X2Px || y < box.FirstRowYPx)
        return false;
    const int row = static_cast<int>((y - box.FirstRowYPx) / RowHeightPx);
    const std::vector<MapListing> shown = GetShown();
    if (row >= box.RowCount || FirstRow + row >= static_cast<int>(shown.size()))
        return false;
    Choice = FirstRow + row;
    ChosenPath = shown[static_cast<std::size_t>(Choice)].Path;
    return true;
}

void MapBrowser::Render(const PixelCanvas& Canvas, const FontMetrics& Metrics, int AvailableHeightPx,
                        const std::function<std::uint32_t(const MapListing&)>& ThumbnailId) const
{
    if (!bOpen)
        return;
    const Box box = GetBox(Canvas.GetWidthPx(), AvailableHeightPx);
    const std::vector<MapListing> shown = GetShown();
    {
        // What is drawn is what the worker reads next.
        const std::lock_guard<std::mutex> lock(pScan->Mutex);
        pScan->WantedPaths.clear();
        for (int row = FirstRow; row < FirstRow + box.RowCount && row < static_cast<int>(shown.size()); ++row)
            pScan->WantedPaths.push_back(shown[static_cast<std::size_t>(row)].Path);
    }
    const int textWidthPx = static_cast<int>(box.X2Px - box.X1Px) - 3 * PaddingPx - ThumbnailPx;
    const double textXPx = box.X1Px + 2 * PaddingPx + ThumbnailPx;
    if (!Canvas.Begin())
        return;
    Canvas.FillRect(box.X1Px, box.Y1Px, box.X2Px, box.Y2Px, GLColor(0.05f, 0.07f, 0.1f, 0.94f));
    Canvas.OutlineRect(box.X1Px, box.Y1Px, box.X2Px, box.Y2Px, GLColor(0.25f, 0.88f, 1.0f, 0.9f));
    for (int row = 0; row < box.RowCount && FirstRow + row < static_cast<int>(shown.size()); ++row)
    {
        const MapListing& map = shown[static_cast<std::size_t>(FirstRow + row)];
        const double y = box.FirstRowYPx + row * RowHeightPx;
        if (FirstRow + row == Choice)
            Canvas.FillRect(box.X1Px + 2, y, box.X2Px - 2, y + RowHeightPx - 2,
                            GLColor(0.2f, 0.35f, 0.55f, 0.9f));
        const double thumbX = box.X1Px + PaddingPx, thumbY = y + (RowHeightPx - ThumbnailPx) * 0.5 - 1;
        if (map.Thumbnail.empty())
            Canvas.OutlineRect(thumbX, thumbY, thumbX + ThumbnailPx, thumbY + ThumbnailPx,
                               GLColor(0.5f, 0.55f, 0.6f, 0.8f));
        else
            Canvas.Image(thumbX, thumbY, thumbX + ThumbnailPx, thumbY + ThumbnailPx, ThumbnailId(map));
    }
    Canvas.End();

    const GLColor title(0.95f, 0.85f, 0.55f, 1.0f), text(0.9f, 0.92f, 0.95f, 1.0f),
        dim(0.6f, 0.65f, 0.7f, 1.0f);
    const double x = box.X1Px + PaddingPx;
    const int innerPx = static_cast<int>(box.X2Px - box.X1Px) - 2 * PaddingPx;
    Canvas.Text(Metrics.FitTextToWidth("Maps: " + std::to_string(shown.size()) + " shown" +
                                           (IsScanDone() ? "" : ", still reading..."),
                                       13, innerPx),
                x, box.Y1Px + 18, 13, title);
    Canvas.Text(Metrics.FitTextToWidth("Filter: " + Filter + "_", 12, innerPx), x, box.Y1Px + 36, 12, text);
    if (ScannedFolders.empty() || (shown.empty() && IsScanDone()))
        Canvas.Text(Metrics.FitTextToWidth(Filter.empty()
                                               ? "No maps found in the map folders (see the README)"
                                               : "No map matches the filter",
                                           12, innerPx),
                    x, box.FirstRowYPx + 20, 12, dim);
    for (int row = 0; row < box.RowCount && FirstRow + row < static_cast<int>(shown.size()); ++row)
    {
        const MapListing& map = shown[static_cast<std::size_t>(FirstRow + row)];
        const double y = box.FirstRowYPx + row * RowHeightPx;
        std::string facts = map.Packing + " | ";
        if (!map.bRead)
            facts += "reading...";
        else if (!map.Error.empty())
            facts += map.Error;
        else
            facts += std::to_string(map.WidthSquares) + "x" + std::to_string(map.HeightSquares) + " squares";
        Canvas.Text(Metrics.FitTextToWidth(map.Name, 13, textWidthPx), textXPx, y + 16, 13, text);
        Canvas.Text(Metrics.FitTextToWidth(facts + " | " + map.Path, 10, textWidthPx), textXPx, y + 31, 10,
                    dim);
    }
    Canvas.Text(
        Metrics.FitTextToWidth("Type to filter | Up/Down choose | Enter or click opens | Esc or Tab closes",
                               10, innerPx),
        x, box.Y2Px - 8, 10, dim);
}
