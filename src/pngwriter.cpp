#include "pngwriter.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include <png.h>

bool WritePngRgb(const std::string& Path, int WidthPx, int HeightPx, const std::uint8_t* Pixels,
                 std::string& Error)
{
    if (WidthPx <= 0 || HeightPx <= 0 || !Pixels)
    {
        Error = "no pixels to write to " + Path;
        return false;
    }
    std::FILE* file = std::fopen(Path.c_str(), "wb");
    if (!file)
    {
        Error = "cannot write " + Path + ": " + std::strerror(errno);
        return false;
    }
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    std::vector<png_const_bytep> rows(static_cast<std::size_t>(HeightPx));
    for (int y = 0; y < HeightPx; ++y)
        rows[static_cast<std::size_t>(y)] = Pixels + static_cast<std::size_t>(y) * WidthPx * 4;
    bool bOk = png && info;
    // libpng reports errors by longjmp; nothing with a destructor is created after this point.
    if (bOk && setjmp(png_jmpbuf(png)) == 0)
    {
        png_init_io(png, file);
        png_set_IHDR(png, info, static_cast<png_uint_32>(WidthPx), static_cast<png_uint_32>(HeightPx), 8,
                     PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        png_set_filler(png, 0, PNG_FILLER_AFTER); // the fourth byte of each pixel is dropped
        png_write_rows(png, const_cast<png_bytepp>(rows.data()), static_cast<png_uint_32>(HeightPx));
        png_write_end(png, info);
    }
    else
        bOk = false;
    png_destroy_write_struct(png ? &png : nullptr, info ? &info : nullptr);
    if (std::fclose(file) != 0)
        bOk = false;
    if (!bOk)
        Error = "cannot write PNG " + Path;
    return bOk;
}
