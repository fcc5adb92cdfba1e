#include "framepartstimer.h"

#include <SDL3/SDL_video.h>

#include "softwaregl.h"

FramePartsTimer::~FramePartsTimer()
{
    // The context may be gone already; its end frees the queries then.
    if (bGpuQueries && SDL_GL_GetCurrentContext())
        glDeleteQueries(2, Queries);
}

void FramePartsTimer::Create()
{
    bCreated = true;
    // On the CPU, timer queries say little about the work done.
    bGpuQueries = !IsSoftwareGLRenderer();
    if (bGpuQueries)
        glGenQueries(2, Queries);
}

void FramePartsTimer::Begin(Part)
{
    if (!bCreated)
        Create();
    if (bGpuQueries)
    {
        // Timestamps, not an elapsed-time query, which the effect's own pass timers already use
        // and which cannot nest.
        glQueryCounter(Queries[0], GL_TIMESTAMP);
        return;
    }
    glFinish(); // what came before is not this part's
    StartedAt = std::chrono::steady_clock::now();
}

void FramePartsTimer::End(Part Which)
{
    const int index = static_cast<int>(Which);
    if (bGpuQueries)
    {
        glQueryCounter(Queries[1], GL_TIMESTAMP);
        GLuint64 startNs = 0, endNs = 0;
        glGetQueryObjectui64v(Queries[0], GL_QUERY_RESULT, &startNs);
        glGetQueryObjectui64v(Queries[1], GL_QUERY_RESULT, &endNs);
        TotalMs[index] += endNs >= startNs ? static_cast<double>(endNs - startNs) * 1e-6 : 0.0;
        return;
    }
    glFinish();
    TotalMs[index] +=
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - StartedAt).count();
}

double FramePartsTimer::GetMeanMs(Part Which) const
{
    return Frames > 0 ? TotalMs[static_cast<int>(Which)] / Frames : 0.0;
}

void FramePartsTimer::Reset()
{
    TotalMs.fill(0.0);
    Frames = 0;
}
