#include "framestats.h"

#include <cstdio>

#include "glcolor.h"
#include "pixelcanvas.h"

namespace
{
constexpr std::uint64_t SecondNs = 1'000'000'000;
constexpr int FontPx = 12;
} // namespace

FrameStats::~FrameStats() = default;

void FrameStats::BeginCpu(std::uint64_t NowNs)
{
    CpuStartNs = NowNs;
    FrameStartsNs.push_back(NowNs);
    while (!FrameStartsNs.empty() && NowNs - FrameStartsNs.front() > SecondNs)
        FrameStartsNs.pop_front();
}

void FrameStats::EndCpu(std::uint64_t NowNs)
{
    CpuMs = (NowNs - CpuStartNs) * 1e-6;
}

double FrameStats::GetFramesPerSecond() const
{
    if (FrameStartsNs.size() < 2)
        return 0.0;
    const double spanSec = (FrameStartsNs.back() - FrameStartsNs.front()) * 1e-9;
    return spanSec > 0.0 ? (FrameStartsNs.size() - 1) / spanSec : 0.0;
}

void FrameStats::BeginGpu()
{
    if (Queries[0] == 0)
        glGenQueries(static_cast<GLsizei>(Queries.size()), Queries.data());
    // Collect every answer that is ready; the newest one is the last frame measured. Timestamps land
    // in order, so once a frame's end is known its start is too.
    for (int i = 0; i < QueryCount; ++i)
    {
        const int index = (NextQuery + i) % QueryCount;
        if (!bPending[index])
            continue;
        GLint bReady = 0;
        glGetQueryObjectiv(Queries[2 * index + 1], GL_QUERY_RESULT_AVAILABLE, &bReady);
        if (!bReady)
            continue;
        GLuint64 startNs = 0, endNs = 0;
        glGetQueryObjectui64v(Queries[2 * index], GL_QUERY_RESULT, &startNs);
        glGetQueryObjectui64v(Queries[2 * index + 1], GL_QUERY_RESULT, &endNs);
        GpuMs = endNs >= startNs ? (endNs - startNs) * 1e-6 : 0.0;
        bPending[index] = false;
    }
    // A query still in flight after a whole ring of frames is given up rather than waited for.
    // Timestamps, not an elapsed-time query: the passes inside the frame time themselves with those,
    // and such queries cannot nest.
    bPending[NextQuery] = true;
    glQueryCounter(Queries[2 * NextQuery], GL_TIMESTAMP);
}

void FrameStats::EndGpu()
{
    glQueryCounter(Queries[2 * NextQuery + 1], GL_TIMESTAMP);
    NextQuery = (NextQuery + 1) % QueryCount;
}

std::string FrameStats::FormatLine() const
{
    char text[96];
    if (GpuMs < 0.0)
        std::snprintf(text, sizeof text, "%.0f fps | CPU %.1f ms | GPU -", GetFramesPerSecond(), CpuMs);
    else
        std::snprintf(text, sizeof text, "%.0f fps | CPU %.1f ms | GPU %.1f ms", GetFramesPerSecond(), CpuMs,
                      GpuMs);
    return text;
}

void FrameStats::Render(const PixelCanvas& Canvas, int StatusBarHeightPx) const
{
    if (!bVisible || !Canvas.Begin())
        return;
    const double bottomPx = Canvas.GetHeightPx() - StatusBarHeightPx - 4.0;
    const double topPx = bottomPx - FontPx - 8.0;
    // Wide enough for "999 fps | CPU 99.9 ms | GPU 99.9 ms" at this size.
    Canvas.FillRect(4.0, topPx, 4.0 + FontPx * 17.0, bottomPx, GLColor(0.03f, 0.04f, 0.07f, 0.8f));
    Canvas.End();
    Canvas.Text(FormatLine(), 10.0, bottomPx - 6.0, FontPx, GLColor(0.55f, 1.0f, 0.7f, 1.0f));
}

void FrameStats::ReleaseGL()
{
    if (Queries[0] != 0)
        glDeleteQueries(static_cast<GLsizei>(Queries.size()), Queries.data());
    Queries.fill(0);
    bPending.fill(false);
}
