#include "framepartstimer.h"

#include <SDL3/SDL_video.h>

#include "softwaregl.h"

FramePartsTimer::~FramePartsTimer()
{
    // The context may be gone already; its end frees the queries then.
    if (bGpuQueries && SDL_GL_GetCurrentContext())
        glDeleteQueries(PartCount, Queries);
}

void FramePartsTimer::Create()
{
    bCreated = true;
    // On the CPU, timer queries say little about the work done.
    bGpuQueries = !IsSoftwareGLRenderer();
    if (bGpuQueries)
        glGenQueries(PartCount, Queries);
}

void FramePartsTimer::Begin(Part Which)
{
    if (!bCreated)
        Create();
    if (bGpuQueries)
    {
        glBeginQuery(GL_TIME_ELAPSED, Queries[static_cast<int>(Which)]);
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
        glEndQuery(GL_TIME_ELAPSED);
        GLuint64 elapsedNs = 0;
        glGetQueryObjectui64v(Queries[index], GL_QUERY_RESULT, &elapsedNs);
        TotalMs[index] += static_cast<double>(elapsedNs) * 1e-6;
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
