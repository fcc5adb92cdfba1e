#include <png.h>

#include "springmap_image_formats.h"

namespace SpringMapImageFormats
{
bool DecodePng(std::span<const std::uint8_t> Bytes, SpringMapImage& Out, std::string& Error)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, Bytes.data(), Bytes.size()))
        return Error = std::string("PNG cannot be read: ") + image.message, false;
    if (!CheckSize(image.width, image.height, Error))
    {
        png_image_free(&image);
        return Error = "PNG " + Error, false;
    }
    image.format = PNG_FORMAT_RGBA;
    std::vector<std::uint8_t> rgba(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, rgba.data(), 0, nullptr))
        return Error = std::string("PNG cannot be read: ") + image.message, false;
    Out.Width = static_cast<int>(image.width), Out.Height = static_cast<int>(image.height);
    Out.Rgba = std::move(rgba);
    return true;
}
} // namespace SpringMapImageFormats
