// Basic types and status codes shared by every layer, with the names and
// values the Mac OS X toolbox uses.
#pragma once

#include <cstdint>

typedef unsigned char Boolean;
typedef std::uint8_t UInt8;
typedef std::int8_t SInt8;
typedef std::uint16_t UInt16;
typedef std::int16_t SInt16;
typedef std::uint32_t UInt32;
typedef std::int32_t SInt32;
typedef std::uint64_t UInt64;
typedef std::int64_t SInt64;
typedef std::uint16_t UniChar;
typedef SInt32 OSStatus;
typedef SInt16 OSErr;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;

typedef unsigned char Str255[256];
typedef const unsigned char* ConstStr255Param;

#ifndef nil
#define nil nullptr
#endif

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

enum : OSStatus {
    noErr = 0,
    paramErr = -50,
    memFullErr = -108,
    coreFoundationUnknownErr = -4960,
};
