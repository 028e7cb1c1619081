/**
 * @file
 * Status codes of the exported functions.
 */
#ifndef QO_CMC_STATUS_H
#define QO_CMC_STATUS_H

/** Status codes of the exported functions. */
enum {
  QO_CMC_OK = 0,            /**< done */
  QO_CMC_STEP_FAILED = 2,   /**< a step of a composite operation failed */
  QO_CMC_NO_MEMORY = 4,     /**< an allocation failed */
  QO_CMC_INVALID = 8,       /**< invalid argument, unknown record kind, malformed record */
  QO_CMC_INVALID_SIZE = 32, /**< invalid size, or a null pointer where a plane is needed */
};

#endif
