/**
 * @file
 * What the library says of itself.
 */
#ifndef RVPCV_FRAME_H
#define RVPCV_FRAME_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup frame Version
 * @{
 */

/** The version record of the library. */
typedef struct {
  int32_t major;         /**< 9 */
  int32_t minor;         /**< 0 */
  int32_t majorBuild;    /**< 2 */
  int32_t build;         /**< 49912 */
  char targetCpu[4];     /**< The processor variant: "n8" and two zero bytes. */
  const char* Name;      /**< Name of the library. */
  const char* Version;   /**< Version as a text. */
  const char* BuildDate; /**< Date of the interface. */
} RvpLibraryVersion;

/**
 * Tells the library's version.
 *
 * @return The constant record, the same pointer on each call. It cannot fail, and nothing is to be freed.
 */
RVP_API const RvpLibraryVersion* rvpcvGetLibVersion(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
