#pragma once
// Threads' quality of service, as far as it is emulated.
typedef unsigned int qos_class_t;

#define QOS_CLASS_UTILITY 0x11
#ifdef __cplusplus
extern "C"
#endif
    int
    pthread_set_qos_class_self_np(qos_class_t quality, int priority);
