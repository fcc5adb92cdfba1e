#pragma once

#include <array>
#include <chrono>

#include <epoxy/gl.h>

// Where a frame's time goes, part by part. With a hardware GPU each part is timed by two GL
// timestamps; a software renderer runs the commands on the CPU, so there the part waits
// for them (glFinish) and the CPU clock times it. Both wait, so this is for measuring runs only
// (the frame benchmark), never the interactive loop.
class FramePartsTimer
{
  public:
    enum class Part : int
    {
        Terrain = 0, // sky and terrain
        Units = 1,
        JetEffect = 2,
        Overlays = 3,
        Water = 4,
        Features = 5,
    };
    static constexpr int PartCount = 6;

    FramePartsTimer() = default;
    FramePartsTimer(const FramePartsTimer&) = delete;
    FramePartsTimer& operator=(const FramePartsTimer&) = delete;
    ~FramePartsTimer();

    // Needs the context current; the calls of one part must not nest with another's.
    void Begin(Part Which);
    void End(Part Which);
    // Milliseconds summed per part since the last Reset, over Frames frames (Reset starts at 0).
    double GetMeanMs(Part Which) const;
    void CountFrame() { ++Frames; }
    void Reset();
    bool UsesGpuQueries() const { return bGpuQueries; }

  private:
    void Create();

    bool bCreated = false;
    bool bGpuQueries = false;
    GLuint Queries[2] = {}; // the running part's start and end timestamps
    std::chrono::steady_clock::time_point StartedAt;
    std::array<double, PartCount> TotalMs{};
    int Frames = 0;
};

// Times one part for the length of a scope; a null timer times nothing.
class ScopedFramePart
{
  public:
    ScopedFramePart(FramePartsTimer* pTimer, FramePartsTimer::Part Which) : pTimer(pTimer), Which(Which)
    {
        if (pTimer)
            pTimer->Begin(Which);
    }
    ~ScopedFramePart()
    {
        if (pTimer)
            pTimer->End(Which);
    }
    ScopedFramePart(const ScopedFramePart&) = delete;
    ScopedFramePart& operator=(const ScopedFramePart&) = delete;

  private:
    FramePartsTimer* pTimer;
    FramePartsTimer::Part Which;
};
