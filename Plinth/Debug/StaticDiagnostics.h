/// \file
/// A memory of the last 10,240 bytes that the program had to say, for its crash report: what is too much for
/// the log file while all goes well.
///
///     WriteStaticDiagnostics("level loaded\n");
#pragma once

namespace Plinth {

/// The text's bytes go over the oldest ones; null is the empty text. Takes no lock: texts of two threads at
/// once may overwrite each other.
void WriteStaticDiagnostics(const char* text);

void ClearStaticDiagnostics(); ///< the next byte goes where it would have gone

/// From the oldest byte to the newest: zeros are left out; what is neither plain 7-bit text nor a line's end
/// is a dot.
void TraceStaticDiagnostics();

} // namespace Plinth
