// Printing of messages.
#include "Messages.h"

#include <cstdio>

namespace gleamview {

void PrintError(const std::string& sentence)
{
    std::fprintf(stderr, "gleamview: %s\n", sentence.c_str());
}

bool Fail(const std::string& sentence)
{
    PrintError(sentence);
    return false;
}

} // namespace gleamview
