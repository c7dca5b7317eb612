/* SPDX-License-Identifier: MIT */
/**
 * @file EzoSsl.h
 * The interface of ezossl, sound source localisation with two microphones.
 *
 * Samples of two synchronised microphones go in, frame by frame; after each block of frames the
 * direction of the dominant sound comes out, in whole degrees. Plain C, from C89 on; also C++.
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
 * The side of microphone 0 is +, the side of microphone 1 is -. Microphone 0 is the first sample of
 * every interleaved couple; swapping the microphones flips the sign. One pair of microphones
 * measures the angle against its own axis and nothing else: it cannot tell front from back, above
 * from below, or how far the sound is, and of several sounds at once it follows the dominant one.
 *
 * A delay is counted in samples at the sample rate, arrival time at microphone 0 less that at
 * microphone 1: a positive delay means that microphone 0 hears the sound later, so the sound is on
 * the side of microphone 1 and its angle is negative.
 *
 *
 * ## The order of calls
 *
 *     EzoSsl_GetBufferSize   how much memory to bring
 *     EzoSsl_Init            the buffer becomes an instance
 *     EzoSsl_Config          temperature, noise gate, frames per block; also later, between frames
 *     EzoSsl_Set_Shape       the array
 *     EzoSsl_Cal_Params      its intrinsic parameters
 *     then, for every block (bf_mode 0):
 *       EzoSsl_Run             direction_frame_num times, a frame each
 *       EzoSsl_Get_Direction   the angle of the block
 *       EzoSsl_Reset_Mapping   empties the votes; until then Run is refused
 *     EzoSsl_Free            closes what was opened; the buffer is yours again
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
 * An instance lives in one buffer that the caller brings, of EzoSsl_GetBufferSize() bytes (21936)
 * and aligned to at least 4 bytes. The handle is the buffer's address. The instance holds addresses
 * into its own buffer: do not copy or move it. The library allocates nothing for its state and
 * never frees the buffer. While the level file is read (GetBufferSize, Init, Reset, GetAPIVersion)
 * its contents are held on the heap and released before the call returns. So are, where the library
 * is built on Ne10, the tables of the transform in Init and Reset. Run uses no heap, and makes no
 * system call but for the input dump. All other pointers are read or written during the call only.
 *
 *
 * ## Threads
 *
 * The library starts no thread and takes no lock. Use one instance from one thread at a time;
 * separate instances are independent. (Two threads in GetBufferSize, Init, Reset or GetAPIVersion
 * at once both let cJSON note where it stopped; nobody reads that note.) Where the library is built
 * on Ne10, the first Init of the process initialises Ne10, and others at once wait for it; only a
 * program that calls ne10_init() itself must do so before.
 *
 *
 * ## What is process-wide
 *
 * - Messages go to standard output, filtered by a message level: 1 errors, 3 also warnings, 7 also
 *   information (the default), 15 the same. GetBufferSize, Init, Reset and GetAPIVersion take the
 *   level from the member "debug_level" of the JSON file /config/audioAlgo.json or, if the
 *   environment variable DML_PATH is set, of the file that it names (a path of at most 127
 *   characters, a file of at most 1 MiB). An instance keeps the level of its Init.
 * - AUDIO_SSL_DUMP=1 in the environment writes the input samples of microphone 0 and 1 to
 *   Audio_SSL_input_data0.pcm and Audio_SSL_input_data1.pcm (16-bit, no header) in the directory
 *   AUDIO_DUMP_PATH, or the current one; all instances write to the same two names. The variables
 *   are read by Init, Reset, Free and every Run: do not change the environment in another thread.
 * - Run draws from rand() and never seeds it: seed it for repeatable angles.
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

/** Fixed sizes and marks. */
enum {
    EZOSSL_FRAME_LENGTH = 128,      /**< samples per microphone per frame */
    EZOSSL_MIC_COUNT = 2,           /**< microphones */
    EZOSSL_REJECTED_FRAME = -32768, /**< delay_sample of a frame without a clear delay */
    EZOSSL_NO_DIRECTION = -10000    /**< direction_avg_int of a block without a direction */
};

/** Every code that an operation returns. The values never change. */
enum EzoSslCode {
    EZOSSL_OK = 0,                        /**< done */
    EZOSSL_DUMP_FILE = -1,                /**< an input dump file could not be opened */
    EZOSSL_NOT_INITIALISED = 0x10000101,  /**< EzoSsl_Init is owed */
    EZOSSL_CONFIG_NULL = 0x10000102,      /**< ssl_config is NULL */
    EZOSSL_BAD_HANDLE = 0x10000103,       /**< the handle is NULL, or is no instance */
    EZOSSL_BAD_SAMPLE_RATE = 0x10000104,  /**< not 8000, 16000, 32000 or 48000; inside Init only */
    EZOSSL_BAD_POINT_NUMBER = 0x10000105, /**< point_number is not 128 */
    EZOSSL_BAD_BF_MODE = 0x10000106,      /**< bf_mode is not 0 or 1; or does not suit the call */
    EZOSSL_DELAY_TOO_LARGE = 0x10000107,  /**< no delay that the spacing and the rate allow */
    EZOSSL_STEP_OWED = 0x10000108,        /**< Config, Set_Shape, Cal_Params or Run is owed */
    EZOSSL_WRONG_PHASE = 0x10000109,      /**< not now: see Set_Shape, Cal_Params and Run */
    EZOSSL_BAD_MIC_NUM = 0x10000110,      /**< mic_num is not 2 */
    EZOSSL_BAD_GEOMETRY = 0x10000111,     /**< array_geometry is not 0 or 1 */
    EZOSSL_NOT_LINEAR = 0x10000112,       /**< two microphones form a linear array only */
    EZOSSL_TOO_QUIET = 0x10000113,        /**< the block's level is at or below noise_gate_db */
    EZOSSL_UNDECIDED = 0x10000114,        /**< no direction has enough votes */
    EZOSSL_BAD_MODE = 0x10000115,         /**< an argument of SetMode is out of range */
    EZOSSL_NO_SUCH_MODE = 0x10000116,     /**< processing mode 1 is not part of this library */
    EZOSSL_DATA_NULL = 0x10000118,        /**< a data pointer is NULL */
    EZOSSL_BAD_GAIN = 0x10000119          /**< the gain is not within -120 ... 120 dB */
};

/** What an instance is built for; read by EzoSsl_Init and EzoSsl_Reset, not kept. */
typedef struct SslInit {
    int32_t point_number; /**< samples per microphone per frame: 128 */
    int32_t sample_rate;  /**< Hz: 8000, 16000, 32000 or 48000 */
    float mic_distance;   /**< spacing of the two microphones in centimetres; not checked */
    int32_t bf_mode;      /**< 0: votes over a block of frames give a direction.
                               1: Run gives a time-domain delay, and there is no direction; both
                               frames that it compares carry microphone 0, so it locates nothing */
    int32_t mic_num;      /**< number of microphones: 2 */
} SslInit;

/** What may change between frames. */
typedef struct SslConfig {
    /** Degrees Celsius; the speed of sound is 331 + 0.6 t m/s. */
    int32_t temperature;
    /** dB of full scale, clamped to -80 ... 0: blocks whose mean level is at or below it get no
     * direction. */
    int32_t noise_gate_db;
    /** Frames in a block, usually 32 or more; not checked. Of every 32 frames a direction needs 4
     * votes (2 at the ends of the axis); blocks under 32 frames need just more than any other. */
    int32_t direction_frame_num;
} SslConfig;

/** An instance: the caller's buffer. Its contents are the library's own. */
typedef struct SslHandle SslHandle;

/** The settings of this build as text, to identify a library file; a constant. */
EZOSSL_API extern const char ssl_setting[];

/* ---- Life of an instance ------------------------------------------------------------------- */

/** Bytes that an instance needs: 21936. Reads the level file. */
EZOSSL_API uint32_t EzoSsl_GetBufferSize(void);

/** Makes an instance of a buffer.
 * @param working_buffer  EzoSsl_GetBufferSize() bytes, aligned to 4; its contents are overwritten
 * @param ssl_init        read only
 * @return the handle, which is the buffer's address; or NULL, with a message, for a NULL argument,
 * a buffer that is not aligned, a value that SslInit does not allow, an input dump that is asked
 * for and cannot be written, or, built on Ne10, an exhausted heap. With the first two the buffer is
 * untouched; after the others every operation on it is refused. */
EZOSSL_API SslHandle *EzoSsl_Init(void *working_buffer, const SslInit *ssl_init);

/** The same as EzoSsl_Init over the instance's own buffer: nothing survives, Config, Set_Shape and
 * Cal_Params are owed again. Dump files that are open stay open and are lost: call Free before. */
EZOSSL_API SslHandle *EzoSsl_Reset(SslHandle *handle, const SslInit *ssl_init);

/** Ends an instance; closes the dump files if AUDIO_SSL_DUMP is 1 (and the buffer still is an
 * instance: what merely looks like an open file is left alone). The buffer can be released or
 * given to EzoSsl_Init again; nothing else may be done with the handle.
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE (NULL). */
EZOSSL_API int32_t EzoSsl_Free(SslHandle *handle);

/* ---- Configuration ------------------------------------------------------------------------- */

/** Sets the configuration. Needs Init. Allowed between frames; a changed direction_frame_num makes
 * the next Run drop the votes collected so far. A changed temperature reaches the limits of the
 * delay with the next Set_Shape. A refused call leaves the configuration owed.
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_CONFIG_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM. */
EZOSSL_API int32_t EzoSsl_Config(SslHandle *handle, const SslConfig *ssl_config);

/** Writes the configuration in force, noise_gate_db as clamped, to *ssl_config. Needs Config.
 * @return EZOSSL_OK, EZOSSL_CONFIG_NULL, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM. */
EZOSSL_API int32_t EzoSsl_Get_Config(SslHandle *handle, SslConfig *ssl_config);

/** Chooses the processing mode and drops the votes collected so far. Needs Cal_Params.
 * @param mode              0; mode 1 is refused, but stays stored and stops Run and Get_Direction
 *                         until mode 0 is set
 * @param angular_distance  1 ... 180, checked and not used
 * @param convidence        1 ... 90, checked and not used
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_MODE, EZOSSL_NO_SUCH_MODE. */
EZOSSL_API int32_t EzoSsl_SetMode(SslHandle *handle, uint32_t mode, uint32_t angular_distance,
                                  uint32_t convidence);

/** Amplifies one frame in place, before it goes to Run (Run itself applies no gain). Needs
 * Cal_Params.
 * @param microphone_input  256 samples, interleaved by microphone. A result beyond 16 bits wraps
 *                         around: leave headroom
 * @param gain              -120 ... 120 dB
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_GAIN. */
EZOSSL_API int32_t EzoSsl_ApplyDigitalGain(SslHandle *handle, int16_t *microphone_input,
                                           int32_t gain);

/** Writes the version of this interface, 1 and 4; a NULL pointer is passed over. Reads the level
 * file.
 * @return EZOSSL_OK. */
EZOSSL_API int32_t EzoSsl_GetAPIVersion(uint16_t *major, uint16_t *minor);

/** Accepts four arguments and does nothing; no callback is ever called.
 * @return EZOSSL_OK. */
EZOSSL_API int32_t EzoSsl_SetCallbackFunction(int32_t a, int32_t b, int32_t c, int32_t d);

/* ---- Array geometry ------------------------------------------------------------------------ */

/** Places the microphones, SslInit.mic_distance apart. Needs Config; not after the first Run. A
 * second call replaces the first, with a warning. Cal_Params must follow.
 * @param array_geometry  0 linear; 1 (circular) is refused for two microphones
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_WRONG_PHASE (Run has been called since Init), EZOSSL_BAD_POINT_NUMBER,
 * EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_GEOMETRY, EZOSSL_NOT_LINEAR. */
EZOSSL_API uint32_t EzoSsl_Set_Shape(SslHandle *handle, uint32_t array_geometry);

/** Microphones at given positions: refused with EZOSSL_NOT_LINEAR for two microphones, after all
 * other checks; use EzoSsl_Set_Shape.
 * @param array_pos  x and y of each microphone in centimetres: 4 values
 * @return EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_WRONG_PHASE (Run has been called since Init), EZOSSL_BAD_POINT_NUMBER,
 * EZOSSL_BAD_MIC_NUM, EZOSSL_NOT_LINEAR. */
EZOSSL_API int32_t EzoSsl_Set_ArbitraryShape(SslHandle *handle, const float *array_pos);

/** Derives the array's intrinsic parameters. Needs Set_Shape; not after the first Run (a refused
 * call leaves the parameters owed, so that Run is refused until EzoSsl_Reset).
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_WRONG_PHASE (Run has been called since Init), EZOSSL_BAD_POINT_NUMBER,
 * EZOSSL_BAD_MIC_NUM. */
EZOSSL_API uint32_t EzoSsl_Cal_Params(SslHandle *handle);

/* ---- Frames and directions ----------------------------------------------------------------- */

/** Takes one frame. Needs Cal_Params, and in bf_mode 0 a Reset_Mapping since the last
 * Get_Direction.
 * @param microphone_input  256 samples: sample n of microphone c at index 2 n + c; read only
 * @param delay_sample      one value: the frame's delay in whole samples, EZOSSL_REJECTED_FRAME
 *                         if it has no clear one; written on EZOSSL_OK only
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_WRONG_PHASE (Reset_Mapping
 * is owed), EZOSSL_NO_SUCH_MODE (bf_mode 0 and processing mode 1), EZOSSL_DUMP_FILE. */
EZOSSL_API int32_t EzoSsl_Run(SslHandle *handle, const int16_t *microphone_input,
                              int32_t *delay_sample);

/** The direction of the block. Needs a Run that succeeded; bf_mode 0 only. Whatever the result, Run
 * is refused until Reset_Mapping (in bf_mode 1, where there is none, until EzoSsl_Reset).
 * @param direction_avg_int  one value: the angle, -90 ... 90 degrees, truncated toward 0; with
 *                          every other code EZOSSL_NO_DIRECTION (untouched where a pointer is NULL)
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_DATA_NULL, EZOSSL_NOT_INITIALISED,
 * EZOSSL_STEP_OWED, EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_BF_MODE (bf_mode 1),
 * EZOSSL_NO_SUCH_MODE, and as answers about the block EZOSSL_TOO_QUIET, EZOSSL_UNDECIDED,
 * EZOSSL_DELAY_TOO_LARGE. */
EZOSSL_API int32_t EzoSsl_Get_Direction(SslHandle *handle, int32_t *direction_avg_int);

/** Empties the votes and lets Run continue. Needs a Run that succeeded; bf_mode 0 only. Without a
 * Get_Direction before it, it drops the block. A refused call leaves Run refused.
 * @return EZOSSL_OK, EZOSSL_BAD_HANDLE, EZOSSL_NOT_INITIALISED, EZOSSL_STEP_OWED,
 * EZOSSL_BAD_POINT_NUMBER, EZOSSL_BAD_MIC_NUM, EZOSSL_BAD_BF_MODE (bf_mode 1). */
EZOSSL_API int32_t EzoSsl_Reset_Mapping(SslHandle *handle);

#ifdef __cplusplus
}
#endif

#endif /* EZOSSL_H */
