#include "offscreen_gl.h"

#include <string>

#include <SDL3/SDL.h>

#include "glreadback.h"

CoreSDL* OffscreenGLTest::Context = nullptr;

void OffscreenGLTest::SetUpTestSuite()
{
    if (Context)
        return;
    SDL_SetHint(SDL_HINT_VIDEO_DRIVER, "offscreen");
    Context = new CoreSDL;
    std::string error;
    if (!Context->Open("test", 64, 64, false, error))
    {
        delete Context;
        Context = nullptr;
        ADD_FAILURE() << "no GL context: " << error;
    }
}

void OffscreenGLTest::TearDownTestSuite()
{
    delete Context;
    Context = nullptr;
    SDL_Quit();
}

void OffscreenGLTest::SetUp()
{
    ASSERT_NE(Context, nullptr);
    while (glGetError() != GL_NO_ERROR)
    {
    }
}

GLTarget::GLTarget(int WidthPx, int HeightPx) : WidthPx(WidthPx), HeightPx(HeightPx)
{
    glGenFramebuffers(1, &Framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, Framebuffer);
    glGenRenderbuffers(2, Renderbuffers);
    glBindRenderbuffer(GL_RENDERBUFFER, Renderbuffers[0]);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, WidthPx, HeightPx);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, Renderbuffers[0]);
    glBindRenderbuffer(GL_RENDERBUFFER, Renderbuffers[1]);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, WidthPx, HeightPx);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, Renderbuffers[1]);
    glViewport(0, 0, WidthPx, HeightPx);
}

GLTarget::~GLTarget()
{
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteRenderbuffers(2, Renderbuffers);
    glDeleteFramebuffers(1, &Framebuffer);
}

void GLTarget::Bind() const
{
    glBindFramebuffer(GL_FRAMEBUFFER, Framebuffer);
    glViewport(0, 0, WidthPx, HeightPx);
}

bool GLTarget::IsComplete() const
{
    return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

std::vector<std::uint8_t> GLTarget::Read() const
{
    glBindFramebuffer(GL_FRAMEBUFFER, Framebuffer);
    return ReadPixelsTopDown(0, 0, WidthPx, HeightPx);
}

Pixel PixelAt(const std::vector<std::uint8_t>& Image, int WidthPx, int XPx, int YPx)
{
    const std::uint8_t* px = &Image[(static_cast<std::size_t>(YPx) * WidthPx + XPx) * 4];
    return {px[0], px[1], px[2], px[3]};
}
