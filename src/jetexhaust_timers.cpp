#include "jetexhaust_timers.h"

JetExhaustGpuTimers::~JetExhaustGpuTimers()
{
    Release();
}

void JetExhaustGpuTimers::Release()
{
    if (bCreated)
        for (FrameQueries& frame : Ring)
            glDeleteQueries(JetExhaustPassCount, frame.Queries);
    for (FrameQueries& frame : Ring)
        frame = FrameQueries{};
    pCurrent = nullptr;
    bCreated = false;
    bHasLatest = false;
}

bool JetExhaustGpuTimers::GetLatest(double GpuMs[JetExhaustPassCount]) const
{
    if (!bHasLatest)
        return false;
    for (int i = 0; i < JetExhaustPassCount; ++i)
        GpuMs[i] = LatestMs[i];
    return true;
}

void JetExhaustGpuTimers::Collect()
{
    for (;;)
    {
        FrameQueries* pOldest = nullptr;
        for (FrameQueries& frame : Ring)
            if (frame.bPending && (!pOldest || frame.Serial < pOldest->Serial))
                pOldest = &frame;
        if (!pOldest)
            return;
        // Queries finish in the order they were issued, but asking each costs nothing and is exact.
        for (int i = 0; i < JetExhaustPassCount; ++i)
        {
            GLint available = GL_TRUE;
            if (pOldest->bIssued[i])
                glGetQueryObjectiv(pOldest->Queries[i], GL_QUERY_RESULT_AVAILABLE, &available);
            if (available != GL_TRUE)
                return;
        }
        for (int i = 0; i < JetExhaustPassCount; ++i)
        {
            GLuint64 elapsedNs = 0;
            if (pOldest->bIssued[i])
                glGetQueryObjectui64v(pOldest->Queries[i], GL_QUERY_RESULT, &elapsedNs);
            LatestMs[i] = static_cast<double>(elapsedNs) * 1e-6;
        }
        pOldest->bPending = false;
        bHasLatest = true;
    }
}

void JetExhaustGpuTimers::BeginFrame()
{
    if (!bCreated)
    {
        for (FrameQueries& frame : Ring)
            glGenQueries(JetExhaustPassCount, frame.Queries);
        bCreated = true;
    }
    FrameQueries& slot = Ring[NextSerial % RingSize];
    pCurrent = slot.bPending ? nullptr : &slot;
    if (!pCurrent)
        return;
    for (bool& bIssued : pCurrent->bIssued)
        bIssued = false;
    // Pending even if no pass runs, so a frame that drew nothing reads back as zeros, not as the
    // last frame that drew.
    pCurrent->bPending = true;
    pCurrent->Serial = NextSerial++;
}

void JetExhaustGpuTimers::BeginPass(JetExhaustPass Pass)
{
    if (pCurrent)
        glBeginQuery(GL_TIME_ELAPSED, pCurrent->Queries[static_cast<int>(Pass)]);
}

void JetExhaustGpuTimers::EndPass(JetExhaustPass Pass)
{
    if (!pCurrent)
        return;
    glEndQuery(GL_TIME_ELAPSED);
    pCurrent->bIssued[static_cast<int>(Pass)] = true;
}
