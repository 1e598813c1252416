/// \file
/// The word that says how a file is opened: one of the creation kinds, combined with the bits behind them.
///
///     files.OpenStream("Data\\Game.ini", MODE_OPEN_EXISTING | MODE_READ | MODE_SHARE_READ |
///     MODE_MISSING_OK);
#pragma once

#include <cstdint>

namespace Plinth {

///@{
/// What becomes of a file that is there, and of one that is not. All other kinds, 0 included, are as
/// MODE_OPEN_EXISTING to CWindowsFileStream; a file system refuses 0.
constexpr std::uint32_t MODE_CREATION_MASK = 0xF;
constexpr std::uint32_t MODE_CREATE_ALWAYS = 1; ///< emptied; created
constexpr std::uint32_t MODE_CREATE_NEW = 2;    ///< failure; created
constexpr std::uint32_t MODE_OPEN_EXISTING = 3;
constexpr std::uint32_t MODE_OPEN_ALWAYS = 4;       ///< opened; created
constexpr std::uint32_t MODE_TRUNCATE_EXISTING = 5; ///< emptied; failure. Needs MODE_WRITE
constexpr std::uint32_t MODE_APPEND = 6; ///< as MODE_OPEN_ALWAYS; a file system opens the stream at its end
///@}

constexpr std::uint32_t MODE_READ = 0x10;            ///< to read from it
constexpr std::uint32_t MODE_WRITE = 0x20;           ///< to write to it
constexpr std::uint32_t MODE_UNBUFFERED_READ = 0x40; ///< a file system puts no buffer before what only reads

///@{
/// What others may do with the file meanwhile. Without them it is not opened while others have it open.
constexpr std::uint32_t MODE_SHARE_READ = 0x100;
constexpr std::uint32_t MODE_SHARE_WRITE = 0x200;
///@}

constexpr std::uint32_t MODE_WRITE_THROUGH = 0x1000; ///< a write returns when it has reached the disk

///@{
/// Hints for the platform's cache.
constexpr std::uint32_t MODE_RANDOM_ACCESS = 0x2000;
constexpr std::uint32_t MODE_SEQUENTIAL_SCAN = 0x4000;
///@}

/// A missing file is no failure where an existing one was to be opened.
constexpr std::uint32_t MODE_MISSING_OK = 0x10000;

/// What a file system takes for an existing file, read and shared for reading.
constexpr std::uint32_t MODE_DEFAULT = 0xFFFFFFFF;

} // namespace Plinth
