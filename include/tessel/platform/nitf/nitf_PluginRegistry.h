#pragma once
/* The process-wide registry of TRE handlers, by TRE name. Registering a name twice keeps
 * both; lookups find the earliest registration. */

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
    char path[NITF_MAX_PATH];
    nitf_HashTable* treHandlers; /* TRE name -> NITF_PLUGIN_TRE_HANDLER_FUNCTION */
    nitf_HashTable* compressionHandlers;
    nitf_HashTable* decompressionHandlers;
    nitf_List* dsos;
} nitf_PluginRegistry;

/* The singleton, created on first use. */
nitf_PluginRegistry* nitf_PluginRegistry_getInstance(nitf_Error* error);

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
