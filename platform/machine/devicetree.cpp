#include "devicetree.h"

#include <algorithm>
#include <cwctype>

std::wstring enumeratedPath(std::wstring interfacePath)
{
    std::transform(interfacePath.begin(), interfacePath.end(), interfacePath.begin(),
                   [](wchar_t c) { return std::towlower(c); });
    return interfacePath;
}
