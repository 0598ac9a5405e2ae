/* The server side of libpalm as fourteen C functions over one process-wide
 * environment. Users are zero-terminated byte strings compared byte for byte;
 * templates and probes are feature texts. The only error report is a false
 * result: a missing partition, a bad text and a plain non-match look alike.
 * All functions may be called from any thread. */
#ifndef PALM_SERVICE_PALM_SERVICE_H_
#define PALM_SERVICE_PALM_SERVICE_H_

#ifndef __cplusplus
#include <stdbool.h>
#endif

#if defined(__GNUC__)
#define PALM_C_API __attribute__((visibility("default")))
#else
#define PALM_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Partitions. A new partition has match policy 1; any non-zero `parallel`
 * gives it worker threads. */
PALM_C_API bool create_partition(int id, int parallel);
PALM_C_API bool delete_partition(int id);
PALM_C_API void clear_partitions(void);
PALM_C_API bool set_match_policy(int id, int policy);

/* Templates. */
PALM_C_API bool push_template(char const* user, char const* feature_text);
PALM_C_API bool delete_template(char const* user);
PALM_C_API void clear_templates(void);

/* Users of partitions. */
PALM_C_API bool assign_user_to_partition(int id, char const* user);
PALM_C_API void remove_user_from_partition(int id, char const* user);

/* Matching. `spare` is carried through and not read; match_1v1 alone refuses
 * a null `spare`. */
PALM_C_API bool match_1v1(int id, char const* feature_a, char const* spare, char const* feature_b);
PALM_C_API bool match_1v1_in_memory(int id, char const* feature_text, char const* spare,
                                    char const* user);
PALM_C_API bool match_1vN(int id, char const* feature_text, char const* spare);
/* The name identified by this thread's last true match_1vN on the partition;
 * empty, never null. Valid until this thread's next match_1vN or reset on that
 * partition. */
PALM_C_API char const* match_1vN_get_identify_user_name(int id);
PALM_C_API void match_1vN_reset_identify_process(int id);

#ifdef __cplusplus
}
#endif

#endif /* PALM_SERVICE_PALM_SERVICE_H_ */
