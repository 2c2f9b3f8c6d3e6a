// The macro that marks the functions of libzevka.so that a host may see. A host gets it with
// exports.h and has no use for it.
#ifndef ZEVKA_EXPORT_H
#define ZEVKA_EXPORT_H

#define ZEVKA_EXPORT __attribute__((visibility("default")))

#endif  // ZEVKA_EXPORT_H
