/* SPDX-License-Identifier: Apache-2.0 */
#pragma once

#include <stddef.h>

/* Part of the Android log library that this project uses, for machines without it. The names,
   numbers and records are that library's; lines go to stderr. */

#ifdef __cplusplus
extern "C" {
#endif

/* NOLINTBEGIN(modernize-use-using): for C programs too */

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT
} android_LogPriority;

/* Data of a message for a logger. */
struct __android_logger_data {
    size_t struct_size; /* of this record */
    int buffer_id;      /* always -1 here */
    int priority;
    const char* tag;
    const char* file; /* always null here */
    unsigned int line;
};

typedef void (*__android_logger_function)(const struct __android_logger_data* logger_data,
                                          const char* message);

/* Passes a message to the logger. Any thread. Returns a positive number, or a negative one when the
   priority is below the minimum. */
int __android_log_print(int priority, const char* tag, const char* format, ...)
    __attribute__((__format__(printf, 3, 4)));

/* Messages below this priority are dropped; ANDROID_LOG_INFO until it is called. Returns the one
   before, ANDROID_LOG_DEFAULT if there was none. */
int __android_log_set_minimum_priority(int priority);

/* Sets the function that gets every message, on the thread that logs it. */
void __android_log_set_logger(__android_logger_function logger);

/* The default logger: one line on stderr. */
void __android_log_stderr_logger(const struct __android_logger_data* logger_data,
                                 const char* message);

/* NOLINTEND(modernize-use-using) */

#ifdef __cplusplus
}
#endif
