/// \class Plinth::IBufferedStream
/// A stream with a buffer in front of another one.
#pragma once

#include "Plinth/Streams/IStream.h"

namespace Plinth {

class IBufferedStream : public IStream {
public:
    virtual bool IsReading() = 0; ///< whether it was made for reading; else for writing
    virtual void Flush() = 0;     ///< hands what was written on; nothing for a stream that reads
};

} // namespace Plinth
