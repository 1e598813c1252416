#include "Tests/Support/Windows/WindowPicture.h"

#include <cstdint>
#include <fstream>
#include <vector>

namespace {

BITMAPINFOHEADER HeaderOf(const RECT& area)
{
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = area.right - area.left;
    header.biHeight = area.bottom - area.top;
    header.biPlanes = 1;
    header.biBitCount = 32;
    return header;
}

std::vector<std::uint32_t> PixelsOf(const RECT& area, const BITMAPINFOHEADER& header)
{
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(header.biWidth * header.biHeight));
    BITMAPINFO information{};
    information.bmiHeader = header;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, header.biWidth, header.biHeight);
    HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, header.biWidth, header.biHeight, screen, area.left, area.top, SRCCOPY);
    SelectObject(memory, before);
    GetDIBits(memory, bitmap, 0, static_cast<UINT>(header.biHeight), pixels.data(), &information,
              DIB_RGB_COLORS);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return pixels;
}

} // namespace

bool SaveWindowPicture(HWND window, const std::filesystem::path& path)
{
    RECT area{};
    if (!GetWindowRect(window, &area)) {
        return false;
    }
    const BITMAPINFOHEADER header = HeaderOf(area);
    const std::vector<std::uint32_t> pixels = PixelsOf(area, header);
    const auto size = static_cast<DWORD>(pixels.size() * sizeof(std::uint32_t));
    BITMAPFILEHEADER fileHeader{};
    fileHeader.bfType = 0x4D42; // "BM"
    fileHeader.bfOffBits = sizeof(fileHeader) + sizeof(header);
    fileHeader.bfSize = fileHeader.bfOffBits + size;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(&fileHeader), sizeof(fileHeader));
    file.write(reinterpret_cast<const char*>(&header), sizeof(header));
    file.write(reinterpret_cast<const char*>(pixels.data()), static_cast<std::streamsize>(size));
    return file.good();
}
