// Multiplies each value by a factor; the global size may be rounded up past
// the true count, so each work item checks its index.
__kernel void kscale(__global float* values, float factor, int count)
{
    const int i = get_global_id(0);
    if (i < count) values[i] *= factor;
}
