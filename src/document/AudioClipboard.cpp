#include "document/AudioClipboard.h"

namespace velloria
{

AudioClipboard& AudioClipboard::clipboard()
{
    static AudioClipboard instance;
    return instance;
}

} // namespace velloria
