#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The process-wide registry of TRE handlers, by TRE name. The first registration of a name
 * wins; later ones for the same name are ignored. Registration is thread-safe; lookups take a
 * shared lock only. */

#include "tessel/platform/nitf/nitf_TRE.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_PLUGIN_INIT_SUFFIX "_init"
#define NITF_PLUGIN_CLEANUP "cleanup"
#define NITF_PLUGIN_HOOK_SUFFIX "_handler"
#define NITF_LIB_VERSION "2.9"
#define NITF_PLUGIN_TRE_KEY "TRE:" NITF_LIB_VERSION
#define NITF_PLUGIN_COMPRESSION_KEY "COMPRESSION"
#define NITF_PLUGIN_DECOMPRESSION_KEY "DECOMPRESSION"
/* The environment variable naming a folder of plug-ins. */
#define NITF_PLUGIN_PATH "NITF_PLUGIN_PATH"

/* Gives the plug-in's identifiers: the key NITF_PLUGIN_TRE_KEY, then the TRE names, then
 * NULL. */
typedef const char** (*NITF_PLUGIN_INIT_FUNCTION)(nitf_Error* error);
typedef void (*NITF_PLUGIN_CLEANUP_FUNCTION)(void);
/* Gives the handler (called at each lookup). */
typedef nitf_TREHandler* (*NITF_PLUGIN_TRE_HANDLER_FUNCTION)(nitf_Error* error);

typedef struct _nitf_PluginRegistry {
    char path[NITF_MAX_PATH]; /* the plug-in folder searched at first use, with a final '/' */
    /* TRE name -> NITF_PLUGIN_TRE_HANDLER_FUNCTION, one pair per name (the winner). Grows
     * under the registry's lock: iterate it once registration is over. */
    nitf_HashTable* treHandlers;
    nitf_HashTable* compressionHandlers;
    nitf_HashTable* decompressionHandlers;
    nitf_List* dsos; /* dlopen handles of the loaded plug-ins (never closed) */
} nitf_PluginRegistry;

/* The singleton. Its first call loads every plug-in (".so") of the folder named by the
 * environment variable NITF_PLUGIN_PATH; an unset, empty or missing folder loads nothing, and
 * a plug-in that fails is logged and skipped. Registrations don't trigger that search. */
nitf_PluginRegistry* nitf_PluginRegistry_getInstance(nitf_Error* error);

/* Loads a plug-in: dlopen, then `<file name without ".so">_init`, whose identifiers must start
 * with NITF_PLUGIN_TRE_KEY; each name's handler is the symbol `<name, blanks as '_'>_handler`.
 * Fails with a message naming the file when any step fails (nothing is registered then). */
NITF_BOOL nitf_PluginRegistry_loadPlugin(const char* fullPathName, nitf_Error* error);

/* Loads every ".so" file of the folder in name order; one that fails is logged and skipped.
 * Fails only when the folder can't be read. */
NITF_BOOL nitf_PluginRegistry_loadDir(const char* dirName, nitf_Error* error);

/* Makes a basic handler over the set (nitf_TREUtils_createBasicHandler) and registers it
 * under name; registering one set under several names shares the handler. The set must live
 * as long as the process. */
NITF_BOOL nitf_PluginRegistry_registerDescriptionSet(const char* name, nitf_TREDescriptionSet* set,
                                                     nitf_Error* error);

/* Calls init, checks its key, and registers handler under each name it gives. */
NITF_BOOL nitf_PluginRegistry_registerTREHandler(NITF_PLUGIN_INIT_FUNCTION init,
                                                 NITF_PLUGIN_TRE_HANDLER_FUNCTION handler,
                                                 nitf_Error* error);

/* The handler registered earliest for ident, or NULL when there is none (hadError 0) or its
 * function failed (hadError 1, error set). */
nitf_TREHandler* nitf_PluginRegistry_retrieveTREHandler(nitf_PluginRegistry* reg, const char* ident,
                                                        int* hadError, nitf_Error* error);

NITF_BOOL nitf_PluginRegistry_TREHandlerExists(const char* ident);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
