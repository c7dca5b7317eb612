/* SPDX-License-Identifier: MIT */
/**
 * @file EzoSsl.h
 * The interface of ezossl, sound source localisation with two microphones.
 *
 * Samples of two synchronised microphones go in, frame by frame. After each block of frames the
 * direction of the dominant sound comes out, in whole degrees. For C, from C89 on, and C++.
 *
 *
 * ## The angle
 *
 * Seen from above, the sound in front of the pair:
 *
 *                      0  broadside
 *            +45       |       -45
 *               \      |      /
 *                 \    |    /
 *                   \  |  /
 *     +90 --------(0)--+--(1)-------- -90
 *          microphone 0   microphone 1
 *
 * Angles on the side of microphone 0 are positive, those on the side of microphone 1 negative.
 * Microphone 0 is the first sample of every interleaved pair; swapping the microphones flips the
 * sign. Two microphones measure the angle to their own axis and nothing else. They cannot tell
 * front from back, above from below, or how far away the sound is. Of several sounds at once, they
 * find the dominant one.
 *
 * A delay is the arrival time at microphone 0 minus that at microphone 1, in samples at the sample
 * rate. If it is positive, microphone 0 hears the sound later, so the sound is on the side of
 * microphone 1 and its angle is negative.
 *
 *
 * ## The order of calls
 *
 *     EzoSsl_GetBufferSize   how much memory to provide
 *     EzoSsl_Init            the buffer becomes an instance
 *     EzoSsl_Config          temperature, noise gate, frames per block; again at any time
 *     EzoSsl_Set_Shape       the array
 *     EzoSsl_Cal_Params      its intrinsic parameters
 *     then, for every block (bf_mode 0):
 *       EzoSsl_Run             once per frame, direction_frame_num times
 *       EzoSsl_Get_Direction   the angle of the block
 *       EzoSsl_Reset_Mapping   clears the votes; required before the next Run
 *     EzoSsl_Free            closes the dump files; the buffer is yours again
 *
 * @code{.c}
 *   #include <stdio.h>
 *   #include <stdlib.h>
 *   #include "EzoSsl.h"
 *
 *   void follow_sound(int (*next_frame)(int16_t *frame))
 *   {
 *       SslInit init = {EZOSSL_FRAME_LENGTH, 16000, 5.8f, 0, EZOSSL_MIC_COUNT};
 *       SslConfig config = {20, -60, 32};
 *       int16_t frame[EZOSSL_FRAME_LENGTH * EZOSSL_MIC_COUNT];
 *       int32_t delay, angle, frames = 0;
 *       void *buffer = malloc(EzoSsl_GetBufferSize());
 *       SslHandle *ssl = EzoSsl_Init(buffer, &init);
 *       if (ssl == NULL || EzoSsl_Config(ssl, &config) != EZOSSL_OK ||
 *           EzoSsl_Set_Shape(ssl, 0) != EZOSSL_OK || EzoSsl_Cal_Params(ssl) != EZOSSL_OK)
 *           exit(1);
 *       while (next_frame(frame)) {
 *           EzoSsl_Run(ssl, frame, &delay);
 *           if (++frames % config.direction_frame_num != 0)
 *               continue;
 *           if (EzoSsl_Get_Direction(ssl, &angle) == EZOSSL_OK)
 *               printf("%ld degrees\n", (long)angle);
 *           EzoSsl_Reset_Mapping(ssl);
 *       }
 *       EzoSsl_Free(ssl);
 *       free(buffer);
 *   }
 * @endcode
 *
 *
 * ## Memory
 *
 * An instance lives in one buffer that the caller provides: EzoSsl_GetBufferSize() bytes, which is
 * EZOSSL_BUFFER_BYTES in this version, aligned to at least 4 bytes. A static buffer is
 *
 *     static uint32_t buffer[EZOSSL_BUFFER_BYTES / 4];
 *
 * The handle is the buffer's address. The instance holds addresses into its own buffer, so do not
 * copy or move it. The library allocates no memory for its state and never frees the buffer.
 *
 * GetBufferSize, Init, Reset and GetAPIVersion read the level file; its contents are on the heap
 * until the call returns. With Ne10 the transform tables are too, during Init and Reset. Run uses
 * no heap and, without the input dump, makes no system call. All other pointers are read or written
 * during the call only.
 *
 *
 * ## Threads
 *
 * The library starts no thread and takes no lock. Use one instance from one thread at a time;
 * separate instances are independent. There is one exception: GetBufferSize, Init, Reset and
 * GetAPIVersion write cJSON's global error pointer when there is a level file. Two threads may
 * write it at once. The library never reads it; a program that calls cJSON_GetErrorPtr() may read
 * a pointer to memory that was freed. With Ne10 the first Init of the process initialises Ne10,
 * and concurrent Inits wait; a program that calls ne10_init() itself must do so first.
 *
 *
 * ## What is process-wide
 *
 * - Messages go to standard output, filtered by a message level: 1 errors; 3 errors and warnings; 7
 *   errors, warnings and information (the default); 15 has the effect of 7. GetBufferSize, Init,
 *   Reset and GetAPIVersion take the level from the member "debug_level" of the JSON file
 *   /config/audioAlgo.json or, if the environment variable DML_PATH is set, of the file that it
 *   names (a path of at most 127 characters, a file of at most 1 MiB). An instance keeps the level
 *   of its Init.
 * - AUDIO_SSL_DUMP=1 in the environment writes the input samples of microphone 0 and 1 to
 *   Audio_SSL_input_data0.pcm and Audio_SSL_input_data1.pcm (16-bit, no header). They are in the
 *   directory AUDIO_DUMP_PATH or, if that is not set, in the current one. All instances write to
 *   these two names. Init, Reset, Free and every Run read the variables, so do not change the
 *   environment in another thread.
 * - A process with more rights than its caller (set-user-ID, set-group-ID, file capabilities)
 *   ignores DML_PATH, AUDIO_SSL_DUMP and AUDIO_DUMP_PATH: they would let the caller choose which
 *   files the process reads and overwrites.
 * - Run draws from rand() and never seeds it. Call srand() for repeatable angles.
 */
#ifndef EZOSSL_H
#define EZOSSL_H

#include <stdint.h>

#if defined(__GNUC__)
#define EZOSSL_API __attribute__((visibility("default")))
#else
#define EZOSSL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** The version of this interface, first number; EzoSsl_GetAPIVersion() gives that of the library in
 * use. */
#define EZOSSL_VERSION_MAJOR 1
/** The version of this interface, second number. */
#define EZOSSL_VERSION_MINOR 4

/** Fixed sizes and special values. */
enum {
    EZOSSL_BUFFER_BYTES = 21936,    /**< bytes of an instance, as EzoSsl_GetBufferSize() says */
    EZOSSL_FRAME_LENGTH = 128,      /**< samples per microphone per frame */
    EZOSSL_MIC_COUNT = 2,           /**< microphones */
    EZOSSL_REJECTED_FRAME = -32768, /**< delay_sample of a frame that has no clear delay */
    EZOSSL_NO_DIRECTION = -10000    /**< direction_avg_int of a block without a direction */
};

/** Every code that an operation returns. The values never change. */
enum EzoSslCode {
    EZOSSL_OK = 0,                        /**< done */
    EZOSSL_DUMP_FILE = -1,                /**< an input dump file could not be opened */
    EZOSSL_NOT_INITIALISED = 0x10000101,  /**< EzoSsl_Init has not been called */
    EZOSSL_CONFIG_NULL = 0x10000102,      /**< ssl_config is NULL */
    EZOSSL_BAD_HANDLE = 0x10000103,       /**< the handle is NULL or not an instance */
    EZOSSL_BAD_SAMPLE_RATE = 0x10000104,  /**< not 8000, 16000, 32000 or 48000; never returned */
    EZOSSL_BAD_POINT_NUMBER = 0x10000105, /**< point_number is not 128 */
    EZOSSL_BAD_BF_MODE = 0x10000106,      /**< bf_mode is not 0 or 1, or the call needs 0 */
    EZOSSL_DELAY_TOO_LARGE = 0x10000107,  /**< beyond what spacing and sample rate allow */
    EZOSSL_STEP_OWED = 0x10000108,        /**< call Config, Set_Shape, Cal_Params or Run first */
    EZOSSL_WRONG_PHASE = 0x10000109,      /**< refused now: see Set_Shape, Cal_Params, Run */
    EZOSSL_BAD_MIC_NUM = 0x10000110,      /**< mic_num is not 2 */
    EZOSSL_BAD_GEOMETRY = 0x10000111,     /**< array_geometry is not 0 or 1 */
    EZOSSL_NOT_LINEAR = 0x10000112,       /**< two microphones can only be a linear array */
    EZOSSL_TOO_QUIET = 0x10000113,        /**< the block's level is at or below noise_gate_db */
    EZOSSL_UNDECIDED = 0x10000114,        /**< no direction has enough votes */
    EZOSSL_BAD_MODE = 0x10000115,         /**< an argument of SetMode is out of range */
    EZOSSL_NO_SUCH_MODE = 0x10000116,     /**< processing mode 1 is not part of this library */
    EZOSSL_DATA_NULL = 0x10000118,        /**< a data pointer is NULL */
    EZOSSL_BAD_GAIN = 0x10000119          /**< the gain is not within -120 ... 120 dB */
};

/** The settings of an instance; EzoSsl_Init and EzoSsl_Reset copy them. */
typedef struct SslInit {
    int32_t point_number; /**< samples per microphone per frame: 128 */
    int32_t sample_rate;  /**< Hz: 8000, 16000, 32000 or 48000 */
    float mic_distance;   /**< spacing of the two microphones in centimetres; not checked */
    int32_t bf_mode;      /**< 0: votes over a block of frames give a direction.
                               1: Run gives a time-domain delay, and there is no direction. It
                               compares microphone 0 with itself: the delay is constant and has no
                               direction */
    int32_t mic_num;      /**< number of microphones: 2 */
} SslInit;

/** The settings that may change between frames. */
typedef struct SslConfig {
    /** Degrees Celsius; the speed of sound is 331 + 0.6 t m/s. */
    int32_t temperature;
    /** dB relative to full scale, clamped to -80 ... 0. A block whose mean level is at or below it
     * gets no direction. */
    int32_t noise_gate_db;
    /** Frames in a block, usually 32 or more; not checked. Per 32 frames a direction needs 4 votes
     * (2 for the two end directions). In shorter blocks the most votes win, however few. */
    int32_t direction_frame_num;
} SslConfig;

/** An instance: the caller's buffer. Its contents belong to the library. */
typedef struct SslHandle SslHandle;

/** A constant text that states the settings of this build, to identify a library file. */
EZOSSL_API extern const char ssl_setting[];

/* ---- Life of an instance ------------------------------------------------------------------- */

/** Bytes that an instance needs: EZOSSL_BUFFER_BYTES. Reads the level file. */
EZOSSL_API uint32_t EzoSsl_GetBufferSize(void);

/** Makes an instance of a buffer.
 * @param working_buffer  EzoSsl_GetBufferSize() bytes, aligned to 4; its contents are overwritten
 * @param ssl_init        read only
 * @return the handle, which is the buffer's address. NULL, with a message, for a NULL argument, a
 * buffer that is not aligned, a value that SslInit does not allow, an input dump that is switched
 * on and cannot be opened, or, with Ne10, an exhausted heap. In the first two cases the buffer is
 * not touched; after the others every operation on it is refused. */
EZOSSL_API SslHandle *EzoSsl_Init(void *working_buffer, const SslInit *ssl_init);

/** EzoSsl_Init again, over the instance's own buffer. Nothing survives: call Config, Set_Shape and
 * Cal_Params again. Open dump files are not closed, and cannot be closed later: call EzoSsl_Free
 * first. */
EZOSSL_API SslHandle *EzoSsl_Reset(SslHandle *handle, const SslInit *ssl_init);

/** Ends an instance. Closes the dump files if AUDIO_SSL_DUMP is 1 now and the buffer still holds a
 * valid instance. Afterwards release the buffer or give it to EzoSsl_Init again; do nothing else
 * with the handle.
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE (NULL). */
EZOSSL_API int32_t EzoSsl_Free(SslHandle *handle);

/* ---- Configuration ------------------------------------------------------------------------- */

/** Sets the configuration. Needs Init. Allowed between frames: if direction_frame_num changes, the
 * next Run drops the votes collected so far. A new temperature affects the limits of the delay from
 * the next Set_Shape on. After a refused call Config must be called again before anything else.
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_CONFIG_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM. */
EZOSSL_API int32_t EzoSsl_Config(SslHandle *handle, const SslConfig *ssl_config);

/** Writes the current configuration to *ssl_config, with noise_gate_db as clamped. Needs Config.
 * @return EZOSSL_OK, EZOSSL_CONFIG_NULL, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM. */
EZOSSL_API int32_t EzoSsl_Get_Config(SslHandle *handle, SslConfig *ssl_config);

/** Chooses the processing mode and drops the votes collected so far. Needs Cal_Params.
 * @param mode              0. Mode 1 is refused but stored: Run and Get_Direction are then refused
 *                         until mode 0 is set
 * @param angular_distance  1 ... 180, checked, not used
 * @param convidence        1 ... 90, checked, not used
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_MODE, EZOSSL_NO_SUCH_MODE. */
EZOSSL_API int32_t EzoSsl_SetMode(SslHandle *handle, uint32_t mode, uint32_t angular_distance,
                                  uint32_t convidence);

/** Amplifies one frame in place. Call it before Run, which applies no gain itself. Needs
 * Cal_Params.
 * @param microphone_input  256 samples, interleaved by microphone. A result beyond 16 bits wraps
 *                         around, so leave headroom
 * @param gain              -120 ... 120 dB
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_GAIN. */
EZOSSL_API int32_t EzoSsl_ApplyDigitalGain(SslHandle *handle, int16_t *microphone_input,
                                           int32_t gain);

/** Writes EZOSSL_VERSION_MAJOR and EZOSSL_VERSION_MINOR of the library in use. A NULL pointer is
 * ignored. Reads the level file.
 * @return EZOSSL_OK. */
EZOSSL_API int32_t EzoSsl_GetAPIVersion(uint16_t *major, uint16_t *minor);

/** Accepts four arguments and does nothing; no callback is ever called.
 * @return EZOSSL_OK. */
EZOSSL_API int32_t EzoSsl_SetCallbackFunction(int32_t a, int32_t b, int32_t c, int32_t d);

/* ---- Array geometry ------------------------------------------------------------------------ */

/** Places the microphones SslInit.mic_distance apart. Needs Config; refused after the first Run. A
 * second call replaces the first, with a warning. Call Cal_Params next.
 * @param array_geometry  0 linear; 1 (circular) is refused for two microphones
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_WRONG_PHASE (Run has been called since Init), EZOSSL_BAD_POINT_NUMBER,
 * EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_GEOMETRY, EZOSSL_NOT_LINEAR. */
EZOSSL_API uint32_t EzoSsl_Set_Shape(SslHandle *handle, uint32_t array_geometry);

/** Places the microphones at given positions. With two microphones it is always refused, with
 * EZOSSL_NOT_LINEAR if nothing else is wrong: use EzoSsl_Set_Shape.
 * @param array_pos  x and y of each microphone in centimetres: 4 values
 * @return EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_WRONG_PHASE (Run has been called since Init), EZOSSL_BAD_POINT_NUMBER,
 * EZOSSL_BAD_MIC_NUM, EZOSSL_NOT_LINEAR. */
EZOSSL_API int32_t EzoSsl_Set_ArbitraryShape(SslHandle *handle, const float *array_pos);

/** Derives the array's intrinsic parameters. Needs Set_Shape; refused after the first Run. After a
 * refused call Run is refused until Cal_Params succeeds; after the first Run that takes an
 * EzoSsl_Reset.
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_WRONG_PHASE (Run has been called since Init), EZOSSL_BAD_POINT_NUMBER,
 * EZOSSL_BAD_MIC_NUM. */
EZOSSL_API uint32_t EzoSsl_Cal_Params(SslHandle *handle);

/* ---- Frames and directions ----------------------------------------------------------------- */

/** Processes one frame. Needs Cal_Params, and in bf_mode 0 a Reset_Mapping after every
 * Get_Direction. A Run without that Reset_Mapping is refused, and so is every later Run and
 * Reset_Mapping: only EzoSsl_Init or EzoSsl_Reset helps.
 * @param microphone_input  256 samples: sample n of microphone c is at index 2 n + c; read only
 * @param delay_sample      one value: the frame's delay in whole samples, or EZOSSL_REJECTED_FRAME
 *                         if it has no clear delay; written with EZOSSL_OK only
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_WRONG_PHASE (Reset_Mapping
 * was due), EZOSSL_NO_SUCH_MODE (bf_mode 0 and processing mode 1), EZOSSL_DUMP_FILE. */
EZOSSL_API int32_t EzoSsl_Run(SslHandle *handle, const int16_t *microphone_input,
                              int32_t *delay_sample);

/** Gives the direction of the block. Needs a successful Run; bf_mode 0 only. Whatever the result,
 * Reset_Mapping is due before the next Run. A call before the first Run, or in bf_mode 1, leaves
 * Run refused until EzoSsl_Init or EzoSsl_Reset.
 * @param direction_avg_int  one value: with EZOSSL_OK the angle, -90 ... 90 degrees, truncated
 *                          toward 0; else EZOSSL_NO_DIRECTION (not written if an argument is NULL)
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_BF_MODE (bf_mode 1),
 * EZOSSL_NO_SUCH_MODE; and for a block without a direction EZOSSL_TOO_QUIET, EZOSSL_UNDECIDED,
 * EZOSSL_DELAY_TOO_LARGE. */
EZOSSL_API int32_t EzoSsl_Get_Direction(SslHandle *handle, int32_t *direction_avg_int);

/** Clears the votes and lets Run continue. Needs a successful Run; bf_mode 0 only. Called without a
 * Get_Direction before it, it drops the block. A call before the first Run, or in bf_mode 1, leaves
 * Run refused until EzoSsl_Init or EzoSsl_Reset.
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_BF_MODE (bf_mode 1). */
EZOSSL_API int32_t EzoSsl_Reset_Mapping(SslHandle *handle);

#ifdef __cplusplus
}
#endif

#endif /* EZOSSL_H */
