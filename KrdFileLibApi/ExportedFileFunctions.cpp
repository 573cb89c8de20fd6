// The file functions of the C interface, one per row of KRD_FILE_FUNCTIONS:
// each runs the file object's member operation of the same name through
// FileFunction.

#include "KrdFileLib/File/KrfFileBase.h"
#include "KrdFileLibApi.h"
#include "KrdFileLibApi/Export.h"
#include "KrdFileLibApi/FileFunction.h"
#include "KrdFileLibApi/FileFunctionTable.h"

using Varnholt::KrdFiles::FileFunction;
using Varnholt::KrdFiles::KrfFileBase;

#define KRD_DEFINE_FILE_FUNCTION(name, parameters)                        \
  KRD_EXPORT int32_t name(KrdFileHandle file KRD_PARAMETERS(parameters)) { \
    return FileFunction<&KrfFileBase::name, decltype(name)>::Call(        \
        file KRD_ARGUMENT_NAMES(parameters));                             \
  }

extern "C" {
KRD_FILE_FUNCTIONS(KRD_DEFINE_FILE_FUNCTION)
}
