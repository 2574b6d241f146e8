/// \file
/// How a name leaves the library. Everything else is hidden.
#ifndef YMAP_EXPORTS_H
#define YMAP_EXPORTS_H

#include "ymap_types.h"

#define YMAP_EXPORT __attribute__((visibility("default")))
#define YMAP_EXPORT_WEAK __attribute__((visibility("default"), weak))
/// A weak second name of the function `target`, which stands in the same unit.
#define YMAP_EXPORT_ALIAS(target) __attribute__((visibility("default"), weak, alias(target)))

#define YMAP_JOIN_(a, b) a##b
#define YMAP_JOIN(a, b) YMAP_JOIN_(a, b)
#define YMAP_STRING_(a) #a
#define YMAP_STRING(a) YMAP_STRING_(a)

namespace ymap {

/// Signatures of the exported functions: walkers, list, leaf handlers and transforms; container handlers,
/// whose third argument is the number of children that will be walked.
using NodeFunction = verrno(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *);
using ContainerFunction = verrno(yfw_map_ctx *, vidl_yfw_datatree *, uint32_t, vidl_yfw_datatree *);
using TextFunction = const char *(yfw_map_ctx *, vidl_yfw_datatree *, vidl_yfw_datatree *);

}  // namespace ymap

#endif  // YMAP_EXPORTS_H
