/* CMPI 2.0 data types: scalars, type codes, values, statuses and the records behind opaque objects.
 *
 * These declarations are binary compatible with the object manager's own. They are plain C, so that
 * a provider or a broker written in either language can use them. Layout is checked in
 * abi_layout.cpp.
 */
#ifndef ORV_CMPI_ABI_CMPI_TYPES_H
#define ORV_CMPI_ABI_CMPI_TYPES_H

#ifdef __cplusplus
extern "C" {
#endif

/* Scalars. CMPIBoolean and CMPIUint8 are one type, CMPIChar16 and CMPIUint16 too. */
typedef unsigned char CMPIBoolean;
typedef unsigned short CMPIChar16;
typedef unsigned char CMPIUint8;
typedef unsigned short CMPIUint16;
typedef unsigned int CMPIUint32;
typedef unsigned long long CMPIUint64;
typedef signed char CMPISint8;
typedef short CMPISint16;
typedef signed int CMPISint32;
typedef long long CMPISint64;
typedef float CMPIReal32;
typedef double CMPIReal64;

typedef unsigned int CMPICount;
typedef unsigned int CMPIFlags;
typedef unsigned short CMPIType;
typedef unsigned short CMPIValueState;
typedef void* CMPIMsgFileHandle;
typedef void CMPIGcStat;

/* Type codes. Arrays are the base code with CMPI_ARRAY. */
enum {
  CMPI_null = 0x0000,
  CMPI_SIMPLE = 0x0002,
  CMPI_boolean = 0x0002,
  CMPI_char16 = 0x0003,
  CMPI_REAL = 0x0008,
  CMPI_real32 = 0x0008,
  CMPI_real64 = 0x000C,
  CMPI_UINT = 0x0080,
  CMPI_uint8 = 0x0080,
  CMPI_uint16 = 0x0090,
  CMPI_uint32 = 0x00A0,
  CMPI_uint64 = 0x00B0,
  CMPI_SINT = 0x00C0,
  CMPI_sint8 = 0x00C0,
  CMPI_sint16 = 0x00D0,
  CMPI_sint32 = 0x00E0,
  CMPI_sint64 = 0x00F0,
  CMPI_INTEGER = 0x00C0,
  CMPI_ENC = 0x1000,
  CMPI_instance = 0x1000,
  CMPI_ref = 0x1100,
  CMPI_args = 0x1200,
  CMPI_class = 0x1300,
  CMPI_filter = 0x1400,
  CMPI_enumeration = 0x1500,
  CMPI_string = 0x1600,
  CMPI_chars = 0x1700, /* input only: the value pointer is the text itself */
  CMPI_dateTime = 0x1800,
  CMPI_ptr = 0x1900,
  CMPI_charsptr = 0x1A00,
  CMPI_ARRAY = 0x2000,
  CMPI_booleanA = CMPI_ARRAY | CMPI_boolean,
  CMPI_char16A = CMPI_ARRAY | CMPI_char16,
  CMPI_real32A = CMPI_ARRAY | CMPI_real32,
  CMPI_real64A = CMPI_ARRAY | CMPI_real64,
  CMPI_uint8A = CMPI_ARRAY | CMPI_uint8,
  CMPI_uint16A = CMPI_ARRAY | CMPI_uint16,
  CMPI_uint32A = CMPI_ARRAY | CMPI_uint32,
  CMPI_uint64A = CMPI_ARRAY | CMPI_uint64,
  CMPI_sint8A = CMPI_ARRAY | CMPI_sint8,
  CMPI_sint16A = CMPI_ARRAY | CMPI_sint16,
  CMPI_sint32A = CMPI_ARRAY | CMPI_sint32,
  CMPI_sint64A = CMPI_ARRAY | CMPI_sint64,
  CMPI_instanceA = CMPI_ARRAY | CMPI_instance,
  CMPI_refA = CMPI_ARRAY | CMPI_ref,
  CMPI_stringA = CMPI_ARRAY | CMPI_string,
  CMPI_charsA = CMPI_ARRAY | CMPI_chars,
  CMPI_dateTimeA = CMPI_ARRAY | CMPI_dateTime,
  CMPI_keyInteger = CMPI_sint64,
  CMPI_keyString = CMPI_string,
  CMPI_keyBoolean = CMPI_boolean,
  CMPI_keyRef = CMPI_ref
};

/* Value states. */
enum {
  CMPI_goodValue = 0x0000,
  CMPI_nullValue = 0x0100,
  CMPI_keyValue = 0x0200,
  CMPI_notFound = 0x0400,
  CMPI_badValue = 0x8000
};

/* Return codes; 1 to 17 are the CIM status codes of the wire protocol. */
typedef enum {
  CMPI_RC_OK = 0,
  CMPI_RC_ERR_FAILED = 1,
  CMPI_RC_ERR_ACCESS_DENIED = 2,
  CMPI_RC_ERR_INVALID_NAMESPACE = 3,
  CMPI_RC_ERR_INVALID_PARAMETER = 4,
  CMPI_RC_ERR_INVALID_CLASS = 5,
  CMPI_RC_ERR_NOT_FOUND = 6,
  CMPI_RC_ERR_NOT_SUPPORTED = 7,
  CMPI_RC_ERR_CLASS_HAS_CHILDREN = 8,
  CMPI_RC_ERR_CLASS_HAS_INSTANCES = 9,
  CMPI_RC_ERR_INVALID_SUPERCLASS = 10,
  CMPI_RC_ERR_ALREADY_EXISTS = 11,
  CMPI_RC_ERR_NO_SUCH_PROPERTY = 12,
  CMPI_RC_ERR_TYPE_MISMATCH = 13,
  CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED = 14,
  CMPI_RC_ERR_INVALID_QUERY = 15,
  CMPI_RC_ERR_METHOD_NOT_AVAILABLE = 16,
  CMPI_RC_ERR_METHOD_NOT_FOUND = 17,
  CMPI_RC_DO_NOT_UNLOAD = 50,
  CMPI_RC_NEVER_UNLOAD = 51,
  CMPI_RC_ERR_INVALID_HANDLE = 60,
  CMPI_RC_ERR_INVALID_DATA_TYPE = 61,
  CMPI_RC_ERROR_SYSTEM = 100,
  CMPI_RC_ERROR = 200
} CMPIrc;

/* Invocation flags. */
enum {
  CMPI_FLAG_LocalOnly = 1,
  CMPI_FLAG_DeepInheritance = 2,
  CMPI_FLAG_IncludeQualifiers = 4,
  CMPI_FLAG_IncludeClassOrigin = 8
};

/* Names of context entries. */
#define CMPIInvocationFlags "CMPIInvocationFlags"
#define CMPIPrincipal "CMPIPrincipal"
#define CMPIRole "CMPIRole"
#define CMPIInitNameSpace "CMPIInitNameSpace"
#define CMPIAcceptLanguage "CMPIAcceptLanguage"
#define CMPIContentLanguage "CMPIContentLanguage"

/* Broker capability bits. */
enum {
  CMPI_MB_BasicRead = 0x1,
  CMPI_MB_BasicWrite = 0x3,
  CMPI_MB_InstanceManipulation = 0x7,
  CMPI_MB_AssociationTraversal = 0x9,
  CMPI_MB_QueryExecution = 0x11,
  CMPI_MB_QueryNormalization = 0x31,
  CMPI_MB_BasicQualifierSupport = 0x47,
  CMPI_MB_Indications = 0x81,
  CMPI_MB_OSEncapsulationSupport = 0x100,
  CMPI_MB_Supports_MemEnhancements = 0x4000,
  CMPI_MB_Supports_Extended_Error = 0x8000
};

enum { CMPIVersion100 = 100, CMPIVersion200 = 200 };

typedef enum {
  CMPI_PredOp_Equals = 1,
  CMPI_PredOp_NotEquals = 2,
  CMPI_PredOp_LessThan = 3,
  CMPI_PredOp_GreaterThanOrEquals = 4,
  CMPI_PredOp_GreaterThan = 5,
  CMPI_PredOp_LessThanOrEquals = 6,
  CMPI_PredOp_Isa = 7,
  CMPI_PredOp_NotIsa = 8,
  CMPI_PredOp_Like = 9,
  CMPI_PredOp_NotLike = 10,
  CMPI_PredOp_Not_Null = 11,
  CMPI_PredOp_Null = 12,
  CMPI_PredOp_And = 13,
  CMPI_PredOp_Or = 14
} CMPIPredOp;

typedef enum { CMPI_err_unknown = 0, CMPI_err_other = 1 } CMPIErrorType;
typedef enum { CMPI_sev_unknown = 0, CMPI_sev_error = 1 } CMPIErrorSeverity;
typedef enum { CMPI_cause_unknown = 0 } CMPIErrorProbableCause;
typedef enum { CMPI_src_unknown = 0 } CMPIErrorSrcFormat;

/* Encapsulated objects: a handle of the maker and the maker's function table.
 * Pass a broker only objects that this broker made. */
struct CMPIBrokerFT_;
struct CMPIBrokerEncFT_;
struct CMPIBrokerExtFT_;
struct CMPIBrokerMemFT_;
struct CMPIContextFT_;
struct CMPIResultFT_;
struct CMPIStringFT_;
struct CMPIArrayFT_;
struct CMPIEnumerationFT_;
struct CMPIInstanceFT_;
struct CMPIObjectPathFT_;
struct CMPIArgsFT_;
struct CMPIDateTimeFT_;
struct CMPISelectExpFT_;
struct CMPISelectCondFT_;
struct CMPISubCondFT_;
struct CMPIPredicateFT_;
struct CMPIErrorFT_;
struct CMPIInstanceMIFT_;
struct CMPIAssociationMIFT_;
struct CMPIMethodMIFT_;
struct CMPIPropertyMIFT_;
struct CMPIIndicationMIFT_;

typedef struct CMPIContext_ {
  void* hdl;
  struct CMPIContextFT_* ft;
} CMPIContext;
typedef struct CMPIResult_ {
  void* hdl;
  struct CMPIResultFT_* ft;
} CMPIResult;
typedef struct CMPIString_ {
  void* hdl;
  struct CMPIStringFT_* ft;
} CMPIString;
typedef struct CMPIArray_ {
  void* hdl;
  struct CMPIArrayFT_* ft;
} CMPIArray;
typedef struct CMPIEnumeration_ {
  void* hdl;
  struct CMPIEnumerationFT_* ft;
} CMPIEnumeration;
typedef struct CMPIInstance_ {
  void* hdl;
  struct CMPIInstanceFT_* ft;
} CMPIInstance;
typedef struct CMPIObjectPath_ {
  void* hdl;
  struct CMPIObjectPathFT_* ft;
} CMPIObjectPath;
typedef struct CMPIArgs_ {
  void* hdl;
  struct CMPIArgsFT_* ft;
} CMPIArgs;
typedef struct CMPIDateTime_ {
  void* hdl;
  struct CMPIDateTimeFT_* ft;
} CMPIDateTime;
typedef struct CMPISelectExp_ {
  void* hdl;
  struct CMPISelectExpFT_* ft;
} CMPISelectExp;
typedef struct CMPISelectCond_ {
  void* hdl;
  struct CMPISelectCondFT_* ft;
} CMPISelectCond;
typedef struct CMPISubCond_ {
  void* hdl;
  struct CMPISubCondFT_* ft;
} CMPISubCond;
typedef struct CMPIPredicate_ {
  void* hdl;
  struct CMPIPredicateFT_* ft;
} CMPIPredicate;
typedef struct CMPIError_ {
  void* hdl;
  struct CMPIErrorFT_* ft;
} CMPIError;

/* Broker handle. */
typedef struct CMPIBroker_ {
  void* hdl;
  struct CMPIBrokerFT_* bft;
  struct CMPIBrokerEncFT_* eft;
  struct CMPIBrokerExtFT_* xft;
  struct CMPIBrokerMemFT_* mft;
} CMPIBroker;

/* Management-interface records; made by the provider, alive until its library is unloaded. */
typedef struct CMPIInstanceMI_ {
  void* hdl;
  struct CMPIInstanceMIFT_* ft;
} CMPIInstanceMI;
typedef struct CMPIAssociationMI_ {
  void* hdl;
  struct CMPIAssociationMIFT_* ft;
} CMPIAssociationMI;
typedef struct CMPIMethodMI_ {
  void* hdl;
  struct CMPIMethodMIFT_* ft;
} CMPIMethodMI;
typedef struct CMPIPropertyMI_ {
  void* hdl;
  struct CMPIPropertyMIFT_* ft;
} CMPIPropertyMI;
typedef struct CMPIIndicationMI_ {
  void* hdl;
  struct CMPIIndicationMIFT_* ft;
} CMPIIndicationMI;

typedef struct CMPIValuePtr_ {
  void* ptr;
  CMPICount length;
} CMPIValuePtr;

typedef union CMPIValue_ {
  CMPIUint64 uint64;
  CMPIUint32 uint32;
  CMPIUint16 uint16;
  CMPIUint8 uint8;
  CMPISint64 sint64;
  CMPISint32 sint32;
  CMPISint16 sint16;
  CMPISint8 sint8;
  CMPIReal64 real64;
  CMPIReal32 real32;
  CMPIBoolean boolean;
  CMPIChar16 char16;
  CMPIInstance* inst;
  CMPIObjectPath* ref;
  CMPIArgs* args;
  CMPISelectExp* filter;
  CMPIEnumeration* Enum;
  CMPIArray* array;
  CMPIString* string;
  char* chars;
  CMPIDateTime* dateTime;
  CMPIValuePtr dataPtr;
  CMPISint8 Byte;
  CMPISint16 Short;
  CMPISint32 Int;
  CMPISint64 Long;
  CMPIReal32 Float;
  CMPIReal64 Double;
} CMPIValue;

typedef struct CMPIData_ {
  CMPIType type;
  CMPIValueState state;
  CMPIValue value;
} CMPIData;

typedef struct CMPIStatus_ {
  CMPIrc rc;
  CMPIString* msg; /* null: no text */
} CMPIStatus;

typedef CMPIData (*CMPIAccessor)(const char* name, void* parm);

#ifdef __cplusplus
}
#endif

#endif
