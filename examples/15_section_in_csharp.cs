// SPDX-License-Identifier: GPL-3.0-or-later
// A host in C#: cuts a slab of 10 cm out of a project, seen from the south, with a callback that is
// handed its points; cuts what was found thinner, and snaps to a point. Needs Orvix.cs and, at run
// time, orvix.dll or liborvix.so.
//
//     csc /unsafe 15_section_in_csharp.cs Orvix.cs        (or mcs, or a .NET project)
//     15_section_in_csharp building.prj 3.7 -5 12.9
using System;
using System.Collections.Generic;
using System.Globalization;
using System.Runtime.InteropServices;
using System.Text;
using Orvix;
using static Orvix.NativeMethods;

public static unsafe class Program {
    // Every failure of the library becomes an exception with its sentence.
    private delegate int Call(orvix_error* error);

    private static void Check(Call call) {
        orvix_error error;
        error.size = (uint)sizeof(orvix_error);
        if (call(&error) == ORVIX_OK) return;
        int length = 0;
        while (error.text[length] != 0) ++length;
        throw new InvalidOperationException(Encoding.UTF8.GetString(error.text, length));
    }

    private static IntPtr OpenProject(string path) {
        IntPtr project;
        fixed (byte* utf8 = Encoding.UTF8.GetBytes(path + "\0")) {
            byte* name = utf8;
            IntPtr* opened = &project;
            Check(error => orvix_project_open(name, null, opened, error));
        }
        return project;
    }

    private static IntPtr OpenSection(IntPtr project, double[] seen) {
        IntPtr section;
        IntPtr* opened = &section;
        Check(error => orvix_section_open(null, opened, error));
        IntPtr made = section;
        Check(error => orvix_section_set_project(made, project, error));
        fixed (double* point = seen, normal = new double[] { 0, -1, 0 }) {
            double* at = point;
            double* towards = normal;
            Check(error => orvix_section_set_plane(made, at, towards, error));
        }
        Check(error => orvix_section_set_slab(made, 0.05, null, error));
        return section;
    }

    // The points of the slab; a chunk may hold others too.
    private static orvix_section_counts Gather(IntPtr section, List<orvix_point> slab) {
        // The delegate is kept alive for as long as the library may call it.
        orvix_section_chunk keep = (user, first, count, points, classes) => {
            for (ulong k = 0; k < count; ++k)
                if (classes[k] == ORVIX_CLASS_IN) slab.Add(points[k]);
            return 1;
        };
        orvix_stream_options options = default(orvix_stream_options);
        options.size = (uint)sizeof(orvix_stream_options);
        options.wanted = 1u << ORVIX_CLASS_IN;
        options.chunk = Marshal.GetFunctionPointerForDelegate(keep);
        orvix_section_counts counts = default(orvix_section_counts);
        counts.size = (uint)sizeof(orvix_section_counts);
        orvix_stream_options* how = &options;
        orvix_section_counts* filled = &counts;
        Check(error => orvix_section_stream(section, how, filled, error));
        GC.KeepAlive(keep);
        return counts;
    }

    private static ulong CountWithin(IntPtr section, double halfThickness) {
        orvix_section_counts counts = default(orvix_section_counts);
        counts.size = (uint)sizeof(orvix_section_counts);
        orvix_section_counts* filled = &counts;
        Check(error => orvix_section_set_slab(section, halfThickness, null, error));
        Check(error => orvix_section_check(section, null, 0, filled, error));
        return counts.in_slab;
    }

    // The section borrows the points: they stay pinned until it has let them go.
    private static ulong CutThinner(IntPtr section, List<orvix_point> slab) {
        GCHandle pinned = GCHandle.Alloc(slab.ToArray(), GCHandleType.Pinned);
        try {
            void* points = (void*)pinned.AddrOfPinnedObject();
            ulong count = (ulong)slab.Count;
            Check(error => orvix_section_hold(section, points, count, (ulong)sizeof(orvix_point),
                                              error));
            ulong within = CountWithin(section, 0.02);
            Check(error => orvix_section_set_points(section, null, 0, 12, error));
            return within;
        } finally {
            pinned.Free();
        }
    }

    // What a click means: the first point along the line of sight, in an aperture of 5 cm.
    private static orvix_snapped_point Pick(IntPtr section, double[] seen) {
        orvix_picking_ray ray = default(orvix_picking_ray);
        ray.origin[0] = seen[0];
        ray.origin[1] = seen[1] - 30;
        ray.origin[2] = seen[2];
        ray.direction[1] = 1;
        ray.radius = 0.05;
        orvix_snapped_point snapped;
        orvix_picking_ray* asked = &ray;
        orvix_snapped_point* found = &snapped;
        Check(error => orvix_section_snap_rays_in_project(section, asked, 1, found, error));
        return snapped;
    }

    public static int Main(string[] arguments) {
        if (arguments.Length != 4) {
            Console.Error.WriteLine("usage: 15_section_in_csharp PROJECT X Y Z");
            return 2;
        }
        var seen = new double[3];
        for (int axis = 0; axis < 3; ++axis)
            seen[axis] = double.Parse(arguments[axis + 1], CultureInfo.InvariantCulture);
        IntPtr project = OpenProject(arguments[0]);
        IntPtr section = OpenSection(project, seen);
        var slab = new List<orvix_point>();
        orvix_section_counts counts = Gather(section, slab);
        Console.WriteLine("in {0} behind {1} before {2}", counts.in_slab, counts.behind,
                          counts.before);
        Console.WriteLine("{0} points within 20 mm", CutThinner(section, slab));
        orvix_snapped_point snapped = Pick(section, seen);
        if (snapped.index == ulong.MaxValue)
            Console.WriteLine("nothing is there");
        else
            Console.WriteLine(string.Format(
                CultureInfo.InvariantCulture,
                "point {0}, {1:F3} m along the ray and {2:F1} mm beside it", snapped.index,
                snapped.along, 1000 * snapped.distance));
        orvix_section_close(section);
        orvix_project_close(project);
        return (ulong)slab.Count == counts.in_slab ? 0 : 1;
    }
}
