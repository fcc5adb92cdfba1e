#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>

#include <epoxy/gl.h>

class PixelCanvas;

// The frame counter (F2): frames per second over the last second, and the CPU and GPU milliseconds
// of the last measured frame. The GPU time comes from timer queries read a few frames late, so
// reading never waits for the GPU.
class FrameStats
{
  public:
    FrameStats() = default;
    FrameStats(const FrameStats&) = delete;
    FrameStats& operator=(const FrameStats&) = delete;
    ~FrameStats();

    bool bVisible = false;

    // Around one frame's work on the CPU (input to submitted draw), times from SDL_GetTicksNS.
    void BeginCpu(std::uint64_t NowNs);
    void EndCpu(std::uint64_t NowNs);
    // Around the frame's GL commands; needs the context current.
    void BeginGpu();
    void EndGpu();

    double GetFramesPerSecond() const;
    double GetCpuMs() const { return CpuMs; }
    double GetGpuMs() const { return GpuMs; }
    // "60 fps | CPU 2.1 ms | GPU 0.8 ms"; "GPU -" until a timer answered.
    std::string FormatLine() const;
    // At the bottom left, just above the status bar.
    void Render(const PixelCanvas& Canvas, int StatusBarHeightPx) const;
    // Frees the timer queries; needs the context current.
    void ReleaseGL();

  private:
    static constexpr int QueryCount = 4;
    std::deque<std::uint64_t> FrameStartsNs; // within the last second
    std::uint64_t CpuStartNs = 0;
    double CpuMs = 0.0;
    double GpuMs = -1.0;                          // negative: no answer yet
    std::array<GLuint, 2 * QueryCount> Queries{}; // a frame's start and end timestamps, frame by frame
    std::array<bool, QueryCount> bPending{};
    int NextQuery = 0;
};
