/* sampleshop: a small commerce library for Sorn, and a model for writing
 * one. It reads a catalogue and takes orders, both files in the
 * configuration's commercedir:
 *
 *   catalog.txt   one product a line: code;name;price   (price as 2.50)
 *   orders.txt    one order a line, appended: number;code;quantity;total;customer
 *
 * Actions:
 *   list    one result for each product: CODE, NAME, PRICE
 *   order   FIELDS="code,quantity,customer": one result, ORDER (the order
 *           number), NAME, QUANTITY and TOTAL; an unknown product or a
 *           quantity that is not a whole number from 1 to 1000 is an error
 *
 * Configured with
 *   commercedir=shop
 *   <COMMERCE-LIB METHOD="sampleshop" LIBRARY="/path/to/sampleshop.so">
 * and used with
 *   <SnCOMMERCE METHOD="sampleshop" ACTION="list" FIELDS="">...</SnCOMMERCE>
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sorn_extension.h"

/* What one loop keeps between calls, in the userdata slot. */
struct shop {
  char* catalog; /* the whole catalogue, NUL-ended */
  char* next;    /* the line the next list result comes from */
  char error[200];
};

static void fail(struct shop* shop, const char* format, const char* detail) {
  snprintf(shop->error, sizeof shop->error, format, detail);
}

/* Reads the catalogue into memory; 0 with the error set on failure. */
static int load_catalog(SornHandle* h, struct shop* shop) {
  SornFile* file = sorn_file_open(h, SORN_LOCATION_COMMERCE, "catalog.txt", SORN_FILE_READ);
  long length;
  int count;
  if (file == NULL) {
    fail(shop, "Cannot open the catalogue: %s", sorn_file_error(h, NULL));
    return 0;
  }
  length = sorn_file_length(file);
  if (length < 0 || length > 1000000) {
    sorn_file_close(file);
    fail(shop, "%s", "The catalogue is unreadable or too large");
    return 0;
  }
  shop->catalog = sorn_alloc((int)length + 1);
  count = shop->catalog != NULL ? sorn_file_read(file, shop->catalog, (int)length) : -1;
  sorn_file_close(file);
  if (count < 0) {
    fail(shop, "%s", "Cannot read the catalogue");
    return 0;
  }
  shop->catalog[count] = 0;
  shop->next = shop->catalog;
  return 1;
}

/* Splits the line at *cursor into its three fields, moving the cursor to
 * the next line; 0 at the end of the catalogue. Blank and malformed lines
 * are passed over. */
static int next_product(char** cursor, char** code, char** name, char** price) {
  while (**cursor != 0) {
    char* line = *cursor;
    char* end = strchr(line, '\n');
    if (end != NULL) {
      *end = 0;
      *cursor = end + 1;
    } else {
      *cursor = line + strlen(line);
    }
    if (end != NULL && end > line && end[-1] == '\r') end[-1] = 0;
    *code = line;
    *name = strchr(line, ';');
    if (*name == NULL) continue;
    *(*name)++ = 0;
    *price = strchr(*name, ';');
    if (*price == NULL) continue;
    *(*price)++ = 0;
    return 1;
  }
  return 0;
}

/* "2.50" in cents; -1 when it is not a price. */
static long cents(const char* price) {
  long whole = 0, fraction = 0;
  int digits = 0;
  const char* p = price;
  for (; *p >= '0' && *p <= '9' && whole < 100000000; p++) whole = whole * 10 + (*p - '0');
  if (p == price) return -1;
  if (*p == '.') {
    for (p++; *p >= '0' && *p <= '9' && digits < 2; p++, digits++) fraction = fraction * 10 + (*p - '0');
    if (digits == 1) fraction *= 10;
  }
  return *p == 0 ? whole * 100 + fraction : -1;
}

static const char* field(SornList* fields, const char* name) {
  SornVariable* v = sorn_variablelist_find(fields, name);
  return v != NULL ? sorn_variable_value(v) : "";
}

/* Finds the product and appends the order; 0 with the error set. */
static int order(SornHandle* h, struct shop* shop, SornList* fields, SornTree* tree) {
  const char* wanted = field(fields, "code");
  const char* quantity = field(fields, "quantity");
  char *cursor = shop->catalog, *code, *name, *price;
  char* end;
  long count = strtol(quantity, &end, 10), each, number;
  char line[400], text[40];
  SornFile* file;
  if (*quantity == 0 || *end != 0 || count < 1 || count > 1000) {
    fail(shop, "Not a quantity: '%s'", quantity);
    return 0;
  }
  for (;;) {
    if (!next_product(&cursor, &code, &name, &price)) {
      fail(shop, "Unknown product '%s'", wanted);
      return 0;
    }
    if (strcmp(code, wanted) == 0) break;
  }
  each = cents(price);
  if (each < 0) {
    fail(shop, "The price of '%s' is not a number", wanted);
    return 0;
  }
  file = sorn_file_open(h, SORN_LOCATION_COMMERCE, "orders.txt",
                        SORN_FILE_READ | SORN_FILE_WRITE | SORN_FILE_CREATE);
  if (file == NULL) {
    fail(shop, "Cannot open the orders: %s", sorn_file_error(h, NULL));
    return 0;
  }
  /* Appending processes take turns, so that order numbers stay unique. */
  sorn_file_lock(file, SORN_LOCK_EXCLUSIVE, 0, 0);
  number = 1;
  {
    char block[4096];
    int n, i;
    while ((n = sorn_file_read(file, block, sizeof block)) > 0)
      for (i = 0; i < n; i++) number += block[i] == '\n';
  }
  snprintf(line, sizeof line, "%ld;%s;%ld;%ld.%02ld;%s\n", number, code, count, each * count / 100,
           each * count % 100, field(fields, "customer"));
  sorn_file_seek(file, sorn_file_length(file));
  sorn_file_write(file, line, (int)strlen(line));
  sorn_file_release(file, 0, 0);
  sorn_file_close(file);
  snprintf(text, sizeof text, "%ld", number);
  sorn_variabletree_setvariable(tree, "ORDER", text);
  sorn_variabletree_setvariable(tree, "NAME", name);
  sorn_variabletree_setvariable(tree, "QUANTITY", quantity);
  snprintf(text, sizeof text, "%ld.%02ld", each * count / 100, each * count % 100);
  sorn_variabletree_setvariable(tree, "TOTAL", text);
  return 1;
}

int sorn_commerce_init(SornHandle* h, void** userdata, const char* method, const char* action,
                       SornList* fields, SornTree* tree) {
  struct shop* shop = sorn_alloc(sizeof *shop);
  (void)method;
  (void)fields;
  (void)tree;
  if (shop == NULL) return 1;
  memset(shop, 0, sizeof *shop);
  *userdata = shop;
  if (strcmp(action, "list") != 0 && strcmp(action, "order") != 0) {
    fail(shop, "Unsupported action '%s'", action);
    return 1;
  }
  return load_catalog(h, shop) ? 0 : 1;
}

int sorn_commerce_loop(SornHandle* h, void** userdata, const char* method, const char* action,
                       SornList* fields, SornTree* tree, int iteration) {
  struct shop* shop = *userdata;
  char *code, *name, *price;
  (void)method;
  if (strcmp(action, "order") == 0) {
    if (iteration > 0) return 2;
    return order(h, shop, fields, tree) ? 0 : 1;
  }
  if (!next_product(&shop->next, &code, &name, &price)) return 2;
  sorn_variabletree_setvariable(tree, "CODE", code);
  sorn_variabletree_setvariable(tree, "NAME", name);
  sorn_variabletree_setvariable(tree, "PRICE", price);
  return 0;
}

int sorn_commerce_cleanup(SornHandle* h, void** userdata, const char* method, const char* action,
                          SornList* fields) {
  struct shop* shop = *userdata;
  (void)h;
  (void)method;
  (void)action;
  (void)fields;
  if (shop != NULL) {
    sorn_free(shop->catalog);
    sorn_free(shop);
    *userdata = NULL;
  }
  return 0;
}

const char* sorn_commerce_error(SornHandle* h, void** userdata, const char* method, const char* action,
                                SornList* fields) {
  struct shop* shop = *userdata;
  (void)h;
  (void)method;
  (void)action;
  (void)fields;
  return shop != NULL ? shop->error : "Out of memory";
}
