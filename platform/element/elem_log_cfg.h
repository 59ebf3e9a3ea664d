/* The log-configuration library of the element: the tables through which its
 * log and web-configuration tools learn what a program logs. The tools look
 * the callouts of a program up by name; the program fills in the tables. */
#ifndef ELEM_LOG_CFG_H
#define ELEM_LOG_CFG_H

#ifdef __cplusplus
extern "C" {
#endif

/* A category of web commands. */
struct ElemWebCfgCategory {
  const char* title;
  const char* key;
  int integers[3];
};

/* A log handle of the program. */
struct ElemLogCfgLogHandle {
  const char* handle;
  const char* name;
  int integers[6];
};

/* A field of a log record. */
struct ElemLogCfgField {
  int index;
  const char* field;
  const char* key;
  const char* label;
  const char* short_label;
  int words[10];
};

/* A component of the platform; each is a log class. A row whose name is null
 * ends a table of them. */
struct ElemLogCfgComponent {
  const char* name;
  const char* display_name;
  int class_id;
  int zero;
};

/* The log configuration of a program. */
struct ElemLogCfgRecord {
  int integers[5];
  const struct ElemLogCfgLogHandle* handles;
  const struct ElemLogCfgField* fields;
  const void* null_word;
};

/* The element's components; may be null. */
extern struct ElemLogCfgComponent* ElemLogCfgComponents;

/* The class id that the element uses for a component's class id. */
int ElemLogCfgGetActualClass(int class_id);
/* Makes a program's log configuration known; the handle that comes back is
 * the library's. Null when the record is unusable. */
void* ElemLogCfgPopulate(const struct ElemLogCfgRecord* record,
                         struct ElemLogCfgComponent** components);

/* Callouts that each program exports. */
const struct ElemWebCfgCategory* ElemWebCfgGetCategories(void);
int ElemWebCfgGetNumCategories(void);
int ElemLogCfgGetBaseClass(void);
void* ElemLogCfgGetHandle(void);
const char* ElemLogCfgCalloutGetClassName(int class_id);

#ifdef __cplusplus
}
#endif

#endif
