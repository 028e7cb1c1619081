/**
 * @file
 * The version of the library whose interface these headers describe, by the rules of Semantic
 * Versioning 2.0.0. The library itself states none: which one runs is a matter of what is
 * installed.
 */
#ifndef QO_CMC_VERSION_H
#define QO_CMC_VERSION_H

#define QO_CMC_VERSION_MAJOR 1 /**< grows when clients have to be changed */
#define QO_CMC_VERSION_MINOR 0 /**< grows with what is added */
#define QO_CMC_VERSION_PATCH 0 /**< grows with what is mended */

#endif
