// Which lock guards what, for clang's thread safety analysis, which script/lint runs. Empty under
// other compilers.
#pragma once

#ifdef __clang__
#define AAA_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define AAA_THREAD_ANNOTATION(attribute)
#endif

#define CAPABILITY(name) AAA_THREAD_ANNOTATION(capability(name))
#define SCOPED_CAPABILITY AAA_THREAD_ANNOTATION(scoped_lockable)
#define GUARDED_BY(lock) AAA_THREAD_ANNOTATION(guarded_by(lock))
#define REQUIRES(...) AAA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) AAA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) AAA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) AAA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS AAA_THREAD_ANNOTATION(no_thread_safety_analysis)
