/* SPDX-License-Identifier: MIT */
/* The camera's configuration library, as far as the daemon uses it: an XML file whose document
 * element is <root> and in which each component of a dotted path is one child element
 * ("General.Time.TimeZone" is <root><General><Time><TimeZone>). The first element of a name counts.
 * C linkage and opaque types, so that a camera's own library can be linked in the place of ours.
 *
 * Node references stay valid until their handle is closed. Texts are UTF-8. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* An element of a loaded file. A handle is the node above the document element, so that "root" is
 * found below a handle as any other element is found below its parent. */
typedef struct cfg_node cfg_node;
typedef cfg_node cfg_handle;

/* Loads a configuration or template file. Returns a handle that the caller closes with cfg_deinit,
 * or null when the file can't be read, is not well-formed XML or defines entities of its own. */
cfg_handle* cfg_init(const char* path);

/* Frees the handle and its tree without saving. Null is allowed. */
void cfg_deinit(cfg_handle* handle);

/* The element at a dotted path below `parent`; null when there is none. */
cfg_node* cfg_find_param_node(cfg_node* parent, const char* path);

/* Copies the element's text, entities decoded, into `value`: cut to size - 1 bytes and terminated.
 * Returns 0, or -1 when the element has child elements and thus no value. */
int cfg_get_param_value(cfg_node* node, char* value, int size);

/* Replaces the element's text in memory. A character that a cut left unfinished at the end of the
 * value is dropped. Returns 0; or -1 when the element has child elements, its path leads to another
 * (as every second element's of a name does, here and in what follows), or the value holds what no
 * XML file can: bytes that are no UTF-8, control characters other than tab and line ends, U+FFFE
 * and U+FFFF. */
int cfg_set_param_value(cfg_node* node, const char* value);

/* The same for a value that came from the EEPROM and must not be reported back to it. Ours never
 * reports by itself (the xmlcfg tool does), a camera's own library may. */
int cfg_set_param_value_no_eeprom(cfg_node* node, const char* value);

/* Saves what was changed through the handle in the file that it was loaded from, as that file is
 * now: what others have saved since then stays, and the handle's own tree does not show it. Touches
 * nothing when nothing was changed. The whole tree goes to another `path`, or to one where there is
 * no file any more. Atomic: whoever reads the file or cuts the power meanwhile sees the old file or
 * the new one, whole. Writes nothing when the file would stay the same. Keeps the old file's owner
 * and mode.
 *
 * Returns 0. Returns -1 with the file untouched when it can't be written, is not a configuration
 * any more, or another saver holds it for 5 s; and -1 with all else saved when an element that was
 * changed here is gone there, or has child elements now; the next save tries that again. */
int cfg_save_file(cfg_handle* handle, const char* path);

/* The element at a dotted path below `root`, created with whatever is missing on the way to it.
 * Null when something is missing whose name is empty or no XML name in ASCII without "." and ":",
 * or that would lie beside the document element or in a second element of a name. */
cfg_node* cfg_add_param_node(cfg_node* root, const char* path);

/* Gives a new element its value. Returns 0 or -1, as cfg_set_param_value. */
int cfg_add_param_value(cfg_node* node, const char* value);

/* Copies all attributes of `source` to `destination`, replacing those of the same name; but none
 * that XML can't hold or whose name is not in ASCII. Returns 0; or -1 for a second element of a
 * name as the destination. */
int cfg_cp_node_attr(cfg_node* destination, cfg_node* source);

/* Copies one attribute. Returns 0, or -1 when `source` has none of that name or it can't be copied.
 */
int cfg_cp_node_attr_spec(cfg_node* destination, cfg_node* source, const char* name);

/* The element's operation mode, its attribute "op" as a decimal number; `mode` when it is missing
 * or no number. */
int cfg_get_node_op_mode(cfg_node* node, int mode);

/* Writes the dotted path of `node` relative to `base` into `path`, cut to size - 1 bytes. */
void cfg_get_node_pathname(cfg_node* node, cfg_node* base, char* path, int size);

/* The element after `node` in a depth-first walk of the subtree under `base`; null when the walk is
 * over. With `descend` 0 the walk does not enter the children of `node`. */
cfg_node* cfg_walk_next(cfg_node* node, cfg_node* base, int descend);

#ifdef __cplusplus
}
#endif
