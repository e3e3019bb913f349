/* SPDX-License-Identifier: MIT */
/* A camera's configuration library in a few lines: it knows one parameter and saves nothing. */
#include "platform/libcfg.h"

#include <stdio.h>
#include <string.h>

struct cfg_node {
  const char* path;
};
static cfg_node document = {""}, root = {"root"}, product = {"General.Brand.ProdNbr"};

cfg_handle* cfg_init(const char* path) {
  return strcmp(path, "/etc/device.conf") ? NULL : &document;
}
void cfg_deinit(cfg_handle* handle) { (void)handle; }

cfg_node* cfg_find_param_node(cfg_node* parent, const char* path) {
  if (parent == &document && strcmp(path, root.path) == 0) return &root;
  return parent == &root && strcmp(path, product.path) == 0 ? &product : NULL;
}

int cfg_get_param_value(cfg_node* node, char* value, int size) {
  if (node != &product) return -1;
  (void)snprintf(value, (size_t)size, "STUB-1");
  return 0;
}

int cfg_set_param_value(cfg_node* node, const char* value) { return (void)node, (void)value, -1; }
int cfg_set_param_value_no_eeprom(cfg_node* node, const char* value) {
  return (void)node, (void)value, -1;
}
int cfg_save_file(cfg_handle* handle, const char* path) { return (void)handle, (void)path, -1; }
cfg_node* cfg_add_param_node(cfg_node* top, const char* path) {
  return (void)top, (void)path, NULL;
}
int cfg_add_param_value(cfg_node* node, const char* value) { return (void)node, (void)value, -1; }
int cfg_cp_node_attr(cfg_node* destination, cfg_node* source) {
  return (void)destination, (void)source, 0;
}
int cfg_cp_node_attr_spec(cfg_node* destination, cfg_node* source, const char* name) {
  return (void)destination, (void)source, (void)name, -1;
}
int cfg_get_node_op_mode(cfg_node* node, int mode) { return (void)node, mode; }
void cfg_get_node_pathname(cfg_node* node, cfg_node* base, char* path, int size) {
  (void)base, (void)snprintf(path, (size_t)size, "%s", node->path);
}
cfg_node* cfg_walk_next(cfg_node* node, cfg_node* base, int descend) {
  return (void)node, (void)base, (void)descend, NULL;
}
