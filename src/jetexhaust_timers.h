#pragma once

#include <cstdint>

#include <epoxy/gl.h>

#include "jetexhaust.h"

// GPU time of each pass through GL_TIME_ELAPSED queries, read back frames later so the CPU never
// waits: a ring of query sets, one per frame in flight. A frame whose set is still busy goes untimed.
class JetExhaustGpuTimers
{
  public:
    static constexpr int RingSize = 4;

    JetExhaustGpuTimers() = default;
    JetExhaustGpuTimers(const JetExhaustGpuTimers&) = delete;
    JetExhaustGpuTimers& operator=(const JetExhaustGpuTimers&) = delete;
    ~JetExhaustGpuTimers();

    // Reads every finished frame, oldest first, without waiting for the others.
    void Collect();
    // The newest finished frame's times (0 for passes it did not run); false, GpuMs untouched, until
    // a frame finished.
    bool GetLatest(double GpuMs[JetExhaustPassCount]) const;
    // Starts timing a frame; the passes between BeginPass and EndPass are measured.
    void BeginFrame();
    void BeginPass(JetExhaustPass Pass);
    void EndPass(JetExhaustPass Pass);
    // Forgets frames in flight and frees the queries.
    void Release();

  private:
    struct FrameQueries
    {
        GLuint Queries[JetExhaustPassCount] = {};
        bool bIssued[JetExhaustPassCount] = {};
        bool bPending = false;
        std::uint64_t Serial = 0;
    };

    FrameQueries Ring[RingSize];
    FrameQueries* pCurrent = nullptr; // null while the frame goes untimed
    std::uint64_t NextSerial = 0;
    double LatestMs[JetExhaustPassCount] = {};
    bool bHasLatest = false;
    bool bCreated = false;
};
