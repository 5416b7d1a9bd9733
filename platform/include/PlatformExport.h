// Symbols of the platform layer keep default visibility even when the including code is built with hidden
// visibility, so that a host (or a test executable) can put its own definitions in their place.
#ifndef PLX_PLATFORM_EXPORT_H
#define PLX_PLATFORM_EXPORT_H
#define PLX_PLATFORM_API __attribute__((visibility("default")))
#endif
