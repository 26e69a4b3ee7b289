// QEL_EXPORT marks what the shared library exports: the public classes (so that exceptions,
// RTTI and virtual calls work across the library boundary) and the public free functions.
// The library is compiled with hidden visibility, so whatever is not marked stays internal.
// The same mark is harmless in the static library and in clients.
#ifndef QEL_FRAME_EXPORT_H_
#define QEL_FRAME_EXPORT_H_

#if defined(__GNUC__) || defined(__clang__)
#define QEL_EXPORT __attribute__((visibility("default")))
#else
#define QEL_EXPORT
#endif

#endif  // QEL_FRAME_EXPORT_H_
