// SPDX-License-Identifier: GPL-3.0-or-later
// The kernels of sections, in what OpenCL C and HLSL have in common; section_program.h gives them to
// devices. scripts/shaders makes section_bytecode.h of this text: run it after every change.
//
// A device rounds as it likes: it may fuse a product and a sum, change the order of sums, flush what
// is too small to zero. So a kernel decides only what no rounding can change and leaves the rest to the
// processor. Each margin below is several times the error that its comment derives; u is 2^-24, the
// largest error of one operation by size of its result. No division, root, dot product or library
// function of floats is used: their errors are anyone's guess. Nothing is infinite or not a number in
// here, since devices may count on that: sizes are tested by bits before anything is computed.
//
// Words of a position are 3 floats. In0 holds positions; position k of a launch is number In1[k] of
// In0 where bit 0 of the flags is set, else number first + k. Parameters of both kernels, by word:
//   17 count of positions, 18 first, 19 flags, 23 the first item (classify) or group (snap)

#ifdef __OPENCL_VERSION__

#ifndef CONTRACT
#pragma OPENCL FP_CONTRACT OFF
#endif
typedef struct {
    uint word[32];
} Words;
#define KERNEL(name)                                                             \
    __kernel __attribute__((reqd_work_group_size(256, 1, 1))) void name(         \
        __global const uint* In0, __global const uint* In1, __global uint* Out0, \
        __global uint* Out1, Words Par)
#define BEGIN                     \
    uint lane = get_local_id(0);  \
    uint group = get_group_id(0); \
    __local uint Shared0[1024];
#define TAKE_PAR Words Par
#define TAKES_PAR , Words Par
#define GIVE_PAR Par
#define GIVES_PAR , Par
#define PAR(k) Par.word[k]
#define ASF(u) as_float(u)
#define ASU(f) as_uint(f)
#define ABSF(f) fabs(f)
#define BARRIER barrier(CLK_LOCAL_MEM_FENCE)
#define PRECISE
#define LOOP
#define FUNCTION static inline __attribute__((always_inline))

#else

StructuredBuffer<uint> In0 : register(t0);
StructuredBuffer<uint> In1 : register(t1);
RWStructuredBuffer<uint> Out0 : register(u0);
RWStructuredBuffer<uint> Out1 : register(u1);
cbuffer Parameters : register(b0) {
    uint4 Par[8];
}
groupshared uint Shared0[1024];
#define KERNEL(name) \
    [numthreads(256, 1, 1)] void name(uint3 group3 : SV_GroupID, uint3 lane3 : SV_GroupThreadID)
#define BEGIN            \
    uint lane = lane3.x; \
    uint group = group3.x;
#define TAKE_PAR
#define TAKES_PAR
#define GIVE_PAR
#define GIVES_PAR
#define PAR(k) Par[(k) / 4][(k) % 4]
#define ASF(u) asfloat(u)
#define ASU(f) asuint(f)
#define ABSF(f) abs(f)
#define BARRIER GroupMemoryBarrierWithGroupSync()
#define PRECISE precise
#define FUNCTION
#define LOOP [loop]  // once in the bytes, not four times

#endif

#define PARF(k) ASF(PAR(k))
#define SIZE_OF(bits) ((bits)&0x7FFFFFFFu)
#define INFINITE 0x7F800000u
#define SIZE_48 0x57800000u          // 2^48 m: positions, origins and rows below it, offsets below
#define SIZE_96 0x6F800000u          // 2^96, keep every sum here below 1e30
#define SIZE_122 0x7C800000u         // 2^122
#define PART_20 9.5367431640625e-7f  // 2^-20
#define PART_124 4.7019775e-38f      // 2^-124
#define TINY 1e-30f

#define BELOW 0u
#define ABOVE 1u
#define UNSURE 2u

#define IN_SLAB 0u
#define BEHIND 1u  // y > the slab
#define BEFORE 2u  // y < the slab
#define OUTSIDE 3u
#define NO_POSITION 4u
#define UNDECIDED 255u

// ---- classify: points against a slab about the plane XZ of a frame
// Item i holds positions 4 i to 4 i + 3. Out0[i] receives their classes, a byte each, the lowest
// first, and 0 past the count; Out1[i] their steps of the ramp, where bit 1 of the flags is set.
//    0-11  rows of X, Y, Z = ((x a + y b) + z c) + d, four floats each
//   12     half the slab's thickness
//   13-16  bounds of X, low and high, and of Z; both ends lie inside
//   20-22  ramp: the low end, steps per metre, the number of steps (2 to 256)

FUNCTION float RowSum(float x, float y, float z, float a, float b, float c, float d) {
    PRECISE float sum = ((x * a + y * b) + z * c) + d;
    return sum;
}

// The sums of the device and the processor each err by at most 4 u of the sum of sizes, so they
// differ by at most half of the first term; what is flushed to zero, a factor or a result, is below
// 2^-126 and is covered four times by the others.
FUNCTION float RowError(float x, float y, float z, float a, float b, float c, float d) {
    float sizes = (ABSF(x * a) + ABSF(y * b)) + (ABSF(z * c) + ABSF(d));
    float factors = (ABSF(x) + ABSF(y) + ABSF(z)) + (ABSF(a) + ABSF(b) + ABSF(c));
    return sizes * PART_20 + (factors * PART_124 + TINY);
}

// Where `value`, known but for `error`, lies for sure.
FUNCTION uint Against(float value, float error, float border) {
    float margin = error + ABSF(border) * PART_20;
    float over = value - border;
    return over > margin ? ABOVE : (over < -margin ? BELOW : UNSURE);
}

// A border, however far: one past 2^122 is as good as 2^122 for values below 1e30.
FUNCTION float BorderOf(uint bits) {
    return ASF(SIZE_OF(bits) < SIZE_122 ? bits : ((bits & 0x80000000u) | SIZE_122));
}

FUNCTION uint RowFits(uint a, uint b, uint c, uint d) {
    uint largest = max(max(SIZE_OF(a), SIZE_OF(b)), SIZE_OF(c));
    return largest < SIZE_48 && SIZE_OF(d) < SIZE_96 ? 1u : 0u;
}

// Whether the rows and the slab are numbers that can be worked with; if not, nothing is decided.
FUNCTION uint SlabFits(TAKE_PAR) {
    uint rows = RowFits(PAR(0), PAR(1), PAR(2), PAR(3)) & RowFits(PAR(4), PAR(5), PAR(6), PAR(7)) &
                RowFits(PAR(8), PAR(9), PAR(10), PAR(11));
    return PAR(12) <= INFINITE ? rows : 0u;
}

// ABOVE means outside for sure, BELOW inside for sure.
FUNCTION uint OutsideOf(float value, float error, uint low, uint high) {
    uint overLow = Against(value, error, BorderOf(low));
    uint overHigh = Against(value, error, BorderOf(high));
    uint side = overLow == ABOVE && overHigh == BELOW ? BELOW : UNSURE;
    if (overLow == BELOW || overHigh == ABOVE) side = ABOVE;
    // A bound that is not a number.
    if (SIZE_OF(low) > INFINITE || SIZE_OF(high) > INFINITE) side = UNSURE;
    return side;
}

// The step of a height, NO_STEP where the end of one is near. Step n reaches from q = n to n + 1; the
// first and the last have no outer end.
#define NO_STEP 256u
FUNCTION uint StepOf(float y, float error TAKES_PAR) {
    uint found = NO_STEP;
    uint most = PAR(22);
    if (most >= 2u && most <= 256u && SIZE_OF(PAR(20)) < SIZE_96 &&
        SIZE_OF(PAR(21)) < 0x4E000000u) {  // 2^29 steps a metre: q stays finite
        float q = (y - PARF(20)) * PARF(21);
        // The subtraction and the product err by 2 u of q, here and on the processor.
        float near = error * ABSF(PARF(21)) + (ABSF(q) + 1.0f) * PART_20;
        float last = (float)(most - 1u);
        if (q - 1.0f < -near) {
            found = 0u;
        } else if (q - last > near) {
            found = most - 1u;
        } else if (near < 0.25f) {
            uint end = min((uint)(q + 0.5f), most - 1u);
            float past = q - (float)end;
            if (ABSF(past) > near) found = past > 0.0f ? end : end - 1u;
        }
    }
    return found;
}

// Class in the low byte, step in the next.
FUNCTION uint ClassOf(uint bitsX, uint bitsY, uint bitsZ, uint fits TAKES_PAR) {
    uint answer = UNDECIDED;
    uint largest = max(max(SIZE_OF(bitsX), SIZE_OF(bitsY)), SIZE_OF(bitsZ));
    if (largest >= INFINITE) {
        answer = NO_POSITION;
    } else if (largest < SIZE_48 && fits != 0u) {
        float x = ASF(bitsX);
        float y = ASF(bitsY);
        float z = ASF(bitsZ);
        float acrossX = RowSum(x, y, z, PARF(0), PARF(1), PARF(2), PARF(3));
        float errorX = RowError(x, y, z, PARF(0), PARF(1), PARF(2), PARF(3));
        float acrossZ = RowSum(x, y, z, PARF(8), PARF(9), PARF(10), PARF(11));
        float errorZ = RowError(x, y, z, PARF(8), PARF(9), PARF(10), PARF(11));
        uint outX = OutsideOf(acrossX, errorX, PAR(13), PAR(14));
        uint outZ = OutsideOf(acrossZ, errorZ, PAR(15), PAR(16));
        if (outX == ABOVE || outZ == ABOVE) {
            answer = OUTSIDE;
        } else if (outX == BELOW && outZ == BELOW) {
            float height = RowSum(x, y, z, PARF(4), PARF(5), PARF(6), PARF(7));
            float error = RowError(x, y, z, PARF(4), PARF(5), PARF(6), PARF(7));
            uint off = Against(ABSF(height), error, BorderOf(PAR(12)));
            // Above the border for sure, so farther than the error from 0: the side is sure too.
            if (off == ABOVE) answer = height > 0.0f ? BEHIND : BEFORE;
            if (off == BELOW) answer = IN_SLAB;
            if ((PAR(19) & 2u) != 0u && answer != UNDECIDED) {
                uint found = StepOf(height, error GIVES_PAR);
                answer = found == NO_STEP ? UNDECIDED : answer | (found << 8u);
            }
        }
    }
    return answer;
}

KERNEL(classify) {
    BEGIN
    uint block = PAR(23) + group * 256u;  // the group's first item
    uint count = PAR(17);
    uint fits = SlabFits(GIVE_PAR);
    // Lanes take points side by side, which is how memory likes it; each then gathers the four of its
    // item.
    LOOP for (uint k = 0u; k < 4u; ++k) {
        uint at = block * 4u + k * 256u + lane;
        uint answer = 0u;
        if (at < count) {
            uint number = PAR(18) + at;
            if ((PAR(19) & 1u) != 0u) number = In1[at];
            uint word = number * 3u;
            answer = ClassOf(In0[word], In0[word + 1u], In0[word + 2u], fits GIVES_PAR);
        }
        Shared0[k * 256u + lane] = answer;
    }
    BARRIER;
    uint item = block + lane;
    if (item < count / 4u + (count % 4u != 0u ? 1u : 0u)) {
        uint a = Shared0[lane * 4u];
        uint b = Shared0[lane * 4u + 1u];
        uint c = Shared0[lane * 4u + 2u];
        uint d = Shared0[lane * 4u + 3u];
        Out0[item] = (a & 255u) | (b & 255u) << 8u | (c & 255u) << 16u | d << 24u;
        if ((PAR(19) & 2u) != 0u) {
            Out1[item] = a >> 8u | b >> 8u << 8u | c >> 8u << 16u | d >> 8u << 24u;
        }
    }
}

// ---- snap: how near to a ray's origin, or to a position, the points of a group may be
// Out0[g] receives the bits of a float that is no larger than the value of any eligible position among
// the 256 of group g, INFINITE where none is eligible. The processor computes in doubles: with
// w = p - o, along = w . d, q = w - along d, a position is eligible where along >= 0 and
// |q|^2 <= (r + along g)^2, and has the value along (mode 0); or where |w|^2 <= r^2, value |w|^2 (1).
//   0-2 o, 3-5 d (of length 1), 6 r, 7 g (r, g >= 0), 8 mode. Each is the processor's number, rounded.
//
// With S the sum of the sizes of p and o, and E = S 2^-20 = 16 u S:
//   w     o errs by u |o|, the subtraction by u S: 2 u S, an eighth of E, for all three together
//   along w gives 2 u S, d u S, the sum of products 4 u S: 7 u S, less than E / 2
//   q     w gives 2 u S, along 7 u S, d and the product u S each, the subtraction 2 u S: less than E
// Half of what is taken below is left for what a device does to the order of operations.

// The square of what is left of a vector that may err by `error` in each component: not more than the
// true one but for 4 u.
FUNCTION float LeastSquare(float x, float y, float z, float error) {
    float a = max(ABSF(x) - error, 0.0f);
    float b = max(ABSF(y) - error, 0.0f);
    float c = max(ABSF(z) - error, 0.0f);
    return (a * a + b * b) + c * c;
}

// 1e-18 keeps the square from being flushed.
FUNCTION float ReachOf(float r) {
    return (r + r * PART_20) + 1e-18f;
}

FUNCTION uint BoundOf(uint bitsX, uint bitsY, uint bitsZ TAKES_PAR) {
    uint bound = 0u;
    uint largest = max(max(SIZE_OF(bitsX), SIZE_OF(bitsY)), SIZE_OF(bitsZ));
    uint origin = max(max(SIZE_OF(PAR(0)), SIZE_OF(PAR(1))), SIZE_OF(PAR(2)));
    uint direction = max(max(SIZE_OF(PAR(3)), SIZE_OF(PAR(4))), SIZE_OF(PAR(5)));
    // Radius from 2^60 m or tangent from 1,024 on, or none that makes sense: everything is within reach.
    uint open = PAR(6) >= 0x5D800000u || PAR(7) >= 0x44800000u ? 1u : 0u;
    if (largest >= INFINITE) {
        bound = INFINITE;
    } else if (max(largest, origin) < SIZE_48 && direction <= 0x3F800002u) {
        float x = ASF(bitsX);
        float y = ASF(bitsY);
        float z = ASF(bitsZ);
        float wx = x - PARF(0);
        float wy = y - PARF(1);
        float wz = z - PARF(2);
        float sizes =
            (ABSF(x) + ABSF(y) + ABSF(z)) + (ABSF(PARF(0)) + ABSF(PARF(1)) + ABSF(PARF(2)));
        float error = sizes * PART_20 + TINY;
        float radius = open != 0u ? 0.0f : PARF(6);
        float least = 0.0f;
        uint eligible = 1u;
        if (PAR(8) != 0u) {
            float square = LeastSquare(wx, wy, wz, error);
            float reach = ReachOf(radius);
            if (open == 0u && square > reach * reach) eligible = 0u;
            least = square - square * PART_20;
        } else {
            float along = (wx * PARF(3) + wy * PARF(4)) + wz * PARF(5);
            float qx = wx - along * PARF(3);
            float qy = wy - along * PARF(4);
            float qz = wz - along * PARF(5);
            float farthest = along + error;
            float tangent = open != 0u ? 0.0f : PARF(7);
            float reach = ReachOf(radius + max(farthest, 0.0f) * tangent);
            float square = LeastSquare(qx, qy, qz, error + error);
            if (farthest < 0.0f || (open == 0u && square > reach * reach)) eligible = 0u;
            least = along - error;
        }
        bound = eligible == 0u ? INFINITE : (least > 0.0f ? ASU(least) : 0u);
    }
    return bound;
}

KERNEL(snap) {
    BEGIN
    uint block = PAR(23) + group;
    uint at = block * 256u + lane;
    uint bound = INFINITE;
    if (at < PAR(17)) {
        uint number = PAR(18) + at;
        if ((PAR(19) & 1u) != 0u) number = In1[at];
        uint word = number * 3u;
        bound = BoundOf(In0[word], In0[word + 1u], In0[word + 2u] GIVES_PAR);
    }
    Shared0[lane] = bound;
    BARRIER;
    // Bits of floats that are not negative rise with the floats.
    for (uint width = 128u; width > 0u; width >>= 1u) {
        if (lane < width) Shared0[lane] = min(Shared0[lane], Shared0[lane + width]);
        BARRIER;
    }
    if (lane == 0u && block * 256u < PAR(17)) Out0[block] = Shared0[0];
}
