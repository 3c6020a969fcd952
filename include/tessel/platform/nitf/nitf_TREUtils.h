#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The basic handler, which reads, writes and edits a TRE from a description set.
 *
 * A description is a list of entries ended by NITF_END:
 *   {NITF_BCS_A | NITF_BCS_N | NITF_BINARY, width, label, tag [, special]}  a field
 *   {NITF_LOOP, 0, label, tag} ... {NITF_ENDLOOP, 0, NULL, NULL}           a repeated group
 *   {NITF_IF, 0, "op value", tag} ... {NITF_ENDIF, 0, NULL, NULL}          a conditional group
 * Widths: a byte count; NITF_TRE_GOBBLE (the rest of the TRE); NITF_TRE_CONDITIONAL_LENGTH
 * (the value of the postfix expression in `special`, e.g. "ENGDATC ENGDTS *", or in the label
 * when `special` is NULL); a width of 0 leaves the field out. Postfix expressions hold
 * integers, field names and the operators + - * / % separated by blanks.
 * Loop counts: label NULL or "" (the value of field `tag`); "+ n", "- n", "* n", "/ n", "% n"
 * (arithmetic on that value); NITF_CONST_N (`tag` is a decimal literal); NITF_FUNCTION (`tag`
 * is a NITF_TRE_CURSOR_COUNT_FUNCTION cast to a char pointer); NITF_TRE_LOOP_EXPRESSION (`tag`
 * is a postfix expression). A count below zero is zero.
 * Conditions: "eq text" / "ne text" compare the field's bytes over its whole width with the
 * text (so the text must hold the blanks of a padded value); "<", ">", "<=", ">=", "==", "!="
 * compare the field's integer value; "& mask" is true when the field's value has any bit of
 * the mask (decimal, or hexadecimal with "0x").
 * Fields inside loops are named tag + "[i]" per loop level, outermost first ("COEF[2][7]").
 * A name used by a count, a condition or an expression is the field of that name, or, inside
 * loops, the name with the current indices of the outer levels appended ("NUMOPG[2]"); a name
 * written with brackets ("NPTS[]") takes the current index of each level in turn.
 *
 * Binary fields are held so that their values read correctly: a 2-byte field in host order,
 * every other width in the file's (big-endian) order. Reading a 4- or 8-byte field thus means
 * byte-swapping it from network order, as the typed path rendering (".uint", ".real") does;
 * counts, conditions and expressions see the values the file defines. Writing restores the
 * file's order. */

#include "tessel/platform/nitf/nitf_TREPrivateData.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Loop label: the count is the postfix expression held in the entry's tag. */
#define NITF_TRE_LOOP_EXPRESSION "EXPRESSION"

/* A computed loop count: idx holds "[i]" for each enclosing loop level (depth of them);
 * returns the count, or -1 with error set. */
typedef int (*NITF_TRE_CURSOR_COUNT_FUNCTION)(nitf_TRE* tre, char idx[10][10], int depth,
                                              nitf_Error* error);

/* Fills handler with the basic operations over the set (handler->data = set); returns it.
 * The set must outlive every TRE made with the handler. */
nitf_TREHandler* nitf_TREUtils_createBasicHandler(nitf_TREDescriptionSet* set,
                                                  nitf_TREHandler* handler, nitf_Error* error);

/* The TRE's data as it would be written, in the file's byte order (malloc'd, caller frees;
 * never NULL on success, even for an empty TRE), and its length. */
char* nitf_TREUtils_getRawData(nitf_TRE* tre, uint32_t* treLength, nitf_Error* error);
/* The length of the TRE's data walked with its current values, or -1. */
int nitf_TREUtils_computeLength(nitf_TRE* tre);
/* Creates the TRE's fields from priv->length bytes at bufptr with priv->description. Fails,
 * leaving no fields, unless the description takes exactly those bytes. */
NITF_BOOL nitf_TREUtils_parse(nitf_TRE* tre, char* bufptr, nitf_Error* error);
/* Sets the field of that full name (it must exist, or be reachable with the current values);
 * fields that the new value brings into reach are created with defaults, fields it puts out of
 * reach are dropped. */
NITF_BOOL nitf_TREUtils_setValue(nitf_TRE* tre, const char* tag, NITF_DATA* data, size_t dataLength,
                                 nitf_Error* error);
/* Makes descrip the TRE's description and creates its missing fields with default values:
 * BCS-N zeros, BCS-A blanks, binary zero bytes, "rest" fields one byte wide and resizable. */
NITF_BOOL nitf_TREUtils_fillData(nitf_TRE* tre, const nitf_TREDescription* descrip,
                                 nitf_Error* error);
/* Gives the TRE fresh private data with the set's default description and the length. */
NITF_BOOL nitf_TREUtils_setDescription(nitf_TRE* tre, uint32_t length, nitf_Error* error);
/* Reads length bytes into field (zeroed first). */
NITF_BOOL nitf_TREUtils_readField(nitf_IOInterface* io, char* field, int length, nitf_Error* error);
/* True when every field the description reaches exists. */
NITF_BOOL nitf_TREUtils_isSane(nitf_TRE* tre);

/* The operations of the basic handler, for handlers that override only some of them. */
NITF_BOOL nitf_TREUtils_basicInit(nitf_TRE* tre, const char* id, nitf_Error* error);
const char* nitf_TREUtils_basicGetID(nitf_TRE* tre);
/* Parses with the first description that takes exactly the bytes (those whose lengthMatch is
 * the length first, then those of any length). When none does, the TRE is kept raw: its
 * handler becomes the default handler and the bytes its "raw_data" field. */
NITF_BOOL nitf_TREUtils_basicRead(nitf_IOInterface* io, uint32_t length, nitf_TRE* tre,
                                  struct _nitf_Record* record, nitf_Error* error);
NITF_BOOL nitf_TREUtils_basicSetField(nitf_TRE* tre, const char* tag, NITF_DATA* data,
                                      size_t dataLength, nitf_Error* error);
/* The field of that full name; "raw_data" (unless a field has that name) gives a read-only
 * binary field holding the TRE's data as it would be written. */
nitf_Field* nitf_TREUtils_basicGetField(nitf_TRE* tre, const char* tag);
/* The pairs (full name, field) whose names contain pattern, in field order; NULL when none. */
nitf_List* nitf_TREUtils_basicFind(nitf_TRE* tre, const char* pattern, nitf_Error* error);
NITF_BOOL nitf_TREUtils_basicWrite(nitf_IOInterface* io, nitf_TRE* tre, struct _nitf_Record* record,
                                   nitf_Error* error);
/* Enumerates the fields in the order of the description. */
nitf_TREEnumerator* nitf_TREUtils_basicBegin(nitf_TRE* tre, nitf_Error* error);
int nitf_TREUtils_basicGetCurrentSize(nitf_TRE* tre, nitf_Error* error);
NITF_BOOL nitf_TREUtils_basicClone(nitf_TRE* source, nitf_TRE* tre, nitf_Error* error);
void nitf_TREUtils_basicDestruct(nitf_TRE* tre);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
