/* sorn_extension.h: the interface between the Sorn engine and a commerce
 * library, for library writers. Plain C; a library includes this header,
 * defines the four sorn_commerce_* entry points and is built as a shared
 * object (cc -shared -fPIC -o shop.so shop.c). It is not linked against the
 * engine: the sorn_* functions below are exported by the engine binary and
 * bound when the engine loads the library.
 *
 * Handles are opaque. The handle that the entry points receive is valid
 * only during that call, and so are all calls back into the engine. What a
 * library gets from a _new, _open, _connect or _openurl it releases with the
 * matching _delete or _close; text the engine allocates for it (from
 * sorn_variablelist_to_url) it releases with sorn_free. Names and values
 * returned by the variable functions belong to the variable and stay valid
 * until it changes or goes.
 *
 * Nothing here reports to the visitor: each function returns the failure
 * value given with it, and the reason comes from sorn_file_error or
 * sorn_network_error.
 */
#ifndef SORN_EXTENSION_H
#define SORN_EXTENSION_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct SornHandle SornHandle;         /* the running script */
typedef struct SornVariable SornVariable;     /* a name and a value */
typedef struct SornList SornList;             /* variables in order, with a cursor */
typedef struct SornTree SornTree;             /* variables by name */
typedef struct SornConnection SornConnection; /* an open TCP stream */
typedef struct SornFile SornFile;             /* an open file */

/* The entry points a commerce library defines. The first five arguments of
 * each: the handle; the address of a pointer-sized slot that belongs to the
 * library (null when the library is loaded; the engine never reads it);
 * the method name of the configuration's COMMERCE-LIB tag; the tag's ACTION;
 * the variables named by its FIELDS, in order. Values the library puts in
 * tree are system variables inside the SnCOMMERCE body; the tree is the
 * same on every call of one loop.
 *
 *   int sorn_commerce_init(SornHandle *h, void **userdata, const char *method,
 *                          const char *action, SornList *fields, SornTree *tree);
 *       0 go on, 1 error, 2 nothing to do (the body is skipped)
 *   int sorn_commerce_loop(SornHandle *h, void **userdata, const char *method,
 *                          const char *action, SornList *fields, SornTree *tree,
 *                          int iteration);
 *       0 a result is in tree, 1 error, 2 finished; iteration counts from 0
 *   int sorn_commerce_cleanup(SornHandle *h, void **userdata, const char *method,
 *                             const char *action, SornList *fields);
 *       called once before the library is unloaded; the result is ignored
 *   const char *sorn_commerce_error(SornHandle *h, void **userdata, const char *method,
 *                                   const char *action, SornList *fields);
 *       the message after a 1; the library keeps the text
 *
 * An error from init or from the first loop call is a run-time error of
 * the SnCOMMERCE tag; an error from a later loop call only ends the loop.
 */
typedef int sorn_commerce_init_function(SornHandle*, void**, const char*, const char*, SornList*, SornTree*);
typedef int sorn_commerce_loop_function(SornHandle*, void**, const char*, const char*, SornList*, SornTree*,
                                        int);
typedef int sorn_commerce_cleanup_function(SornHandle*, void**, const char*, const char*, SornList*);
typedef const char* sorn_commerce_error_function(SornHandle*, void**, const char*, const char*, SornList*);

/* What a file name given to the sorn_file_* functions is relative to; any
 * other value counts as SORN_LOCATION_DATA. SORN_LOCATION_COMMERCE is the
 * configuration's commercedir, itself a data path. Every name passes the
 * same containment rules as a script's. */
enum { SORN_LOCATION_DATA = 0, SORN_LOCATION_SCRIPT = 1, SORN_LOCATION_COMMERCE = 3 };

/* Modes of sorn_file_open, combined with |. */
enum {
  SORN_FILE_READ = 1,
  SORN_FILE_WRITE = 2,
  SORN_FILE_CREATE = 4,
  SORN_FILE_TRUNCATE = 8,
  SORN_FILE_APPEND = 16,
  SORN_FILE_EXCLUSIVE = 32
};

/* Lock types of sorn_file_lock: 2 is exclusive, any other value shared. */
enum { SORN_LOCK_SHARED = 1, SORN_LOCK_EXCLUSIVE = 2 };

/* Memory: malloc, realloc and free; null for a negative size. */
void* sorn_alloc(int size);
void* sorn_realloc(void* pointer, int size);
void sorn_free(void* pointer);

/* Single variables. A new variable is the caller's until inserted into a
 * tree. */
SornVariable* sorn_variable_new(const char* name, const char* value);
const char* sorn_variable_name(SornVariable* variable);
const char* sorn_variable_value(SornVariable* variable);
void sorn_variable_setvalue(SornVariable* variable, const char* value);

/* Variable lists. first and next move the list's cursor and return the
 * variable there, current returns it; all three give null past the end.
 * find searches by name, ignoring case, and leaves the cursor on the match.
 * setvariable changes a variable of that name or appends one. dump empties
 * the list, deleting its variables. to_url appends the list to url as a
 * query ("?" to a url without one, "+" after an existing query, a second
 * "?" when url ends in "?" or "+"), each name=value URL-encoded and joined
 * by "&"; null on an allocation failure, otherwise freed with sorn_free. */
SornList* sorn_variablelist_new(void);
SornVariable* sorn_variablelist_first(SornList* list);
SornVariable* sorn_variablelist_current(SornList* list);
SornVariable* sorn_variablelist_next(SornList* list);
SornVariable* sorn_variablelist_find(SornList* list, const char* name);
void sorn_variablelist_setvariable(SornList* list, const char* name, const char* value);
void sorn_variablelist_dump(SornList* list);
char* sorn_variablelist_to_url(const char* url, SornList* list);
void sorn_variablelist_delete(SornList* list);

/* Variable trees, searched by name ignoring case. insert hands the
 * variable over to the tree. */
SornTree* sorn_variabletree_new(void);
SornVariable* sorn_variabletree_find(SornTree* tree, const char* name);
void sorn_variabletree_setvariable(SornTree* tree, const char* name, const char* value);
void sorn_variabletree_insert(SornTree* tree, SornVariable* variable);
void sorn_variabletree_dump(SornTree* tree);
void sorn_variabletree_delete(SornTree* tree);

/* Network. isipaddress: 1 when text holds only digits and dots, else 0.
 * gethostaddress: 0 with the dotted address in buffer (cut to size - 1
 * bytes, always NUL-ended), negative on failure. connect and openurl: an
 * open connection, or null. openurl sends an HTTP/1.0 request; with an
 * empty body and a positive length the library writes the body itself.
 * read: the count, 0 at the end, negative on failure. readline: one line,
 * CR and LF kept, each character waited for up to timeout seconds; copies
 * at most size - 1 bytes and a NUL, and returns the line's length or
 * size - 1 when smaller (the rest of a longer line is lost); 0 on a
 * time-out, negative at the end of the stream. write: what was taken, or
 * negative. error: the connection's last error, or with a null connection
 * the engine's. */
int sorn_network_isipaddress(SornHandle* handle, const char* text);
int sorn_network_gethostaddress(SornHandle* handle, const char* name, char* buffer, int size);
SornConnection* sorn_network_connect(SornHandle* handle, const char* host, int port);
SornConnection* sorn_network_openurl(SornHandle* handle, const char* method, const char* url,
                                     const char* body, const char* contenttype, int length);
int sorn_network_read(SornConnection* connection, char* buffer, int size, int timeout);
int sorn_network_readline(SornConnection* connection, char* buffer, int size, int timeout);
int sorn_network_write(SornConnection* connection, const char* buffer, int size);
void sorn_network_close(SornConnection* connection);
const char* sorn_network_error(SornHandle* handle, SornConnection* connection);

/* Files by name. A name that fails to resolve gives the value in
 * brackets, with the reason in sorn_file_error(handle, NULL).
 * resolve: 1, writing the full path to buffer (cut to size - 1 bytes
 * and a NUL) [0]. open: an open file, or null [null]. delete, rename,
 * makedirectory, removedirectory, changemode: 0, or negative [-1].
 * exists: 1 or 0 [-1]. size: the length in bytes, or -1; a file past
 * 2 GB gives 2147483647 [-1]. isdirectory: 1 or 0 [0]. mode: the whole
 * mode word, or -1 [-1]. */
int sorn_file_resolve(SornHandle* handle, int location, const char* name, char* buffer, int size);
SornFile* sorn_file_open(SornHandle* handle, int location, const char* name, int mode);
int sorn_file_delete(SornHandle* handle, int location, const char* name);
int sorn_file_rename(SornHandle* handle, int fromlocation, const char* from, int tolocation, const char* to);
int sorn_file_exists(SornHandle* handle, int location, const char* name);
int sorn_file_size(SornHandle* handle, int location, const char* name);
int sorn_file_isdirectory(SornHandle* handle, int location, const char* name);
int sorn_file_makedirectory(SornHandle* handle, int location, const char* name);
int sorn_file_removedirectory(SornHandle* handle, int location, const char* name);
int sorn_file_mode(SornHandle* handle, int location, const char* name);
int sorn_file_changemode(SornHandle* handle, int location, const char* name, int mode);

/* Open files: -1 on failure, with the reason in sorn_file_error(handle,
 * file). lock waits until the range is free. close closes the file and
 * frees the handle; null is allowed. */
int sorn_file_read(SornFile* file, char* buffer, int size);
int sorn_file_write(SornFile* file, const char* buffer, int size);
long sorn_file_seek(SornFile* file, long offset);
long sorn_file_tell(SornFile* file);
long sorn_file_length(SornFile* file);
int sorn_file_lock(SornFile* file, int type, long offset, long length);
int sorn_file_release(SornFile* file, long offset, long length);
void sorn_file_close(SornFile* file);
char sorn_file_pathseparator(SornHandle* handle);
const char* sorn_file_error(SornHandle* handle, SornFile* file);

#ifdef __cplusplus
}
#endif

#endif
