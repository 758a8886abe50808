// SPDX-License-Identifier: GPL-3.0-or-later
// A host in C#: finds all planes of a project and lists them, with a callback that could cancel, and
// counts the points of each. Needs Orvix.cs and, at run time, orvix.dll or liborvix.so.
//
//     csc /unsafe 10_all_planes_in_csharp.cs Orvix.cs        (or mcs, or a .NET project)
//     10_all_planes_in_csharp building.prj
using System;
using System.Globalization;
using System.Runtime.InteropServices;
using System.Text;
using Orvix;
using static Orvix.NativeMethods;

public static unsafe class Program {
    private static readonly string[] Kinds = { "floor", "ceiling", "wall", "roof", "other" };

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

    private static IntPtr Open(string path) {
        IntPtr project;
        fixed (byte* utf8 = Encoding.UTF8.GetBytes(path + "\0")) {
            byte* name = utf8;
            IntPtr* opened = &project;
            Check(error => orvix_project_open(name, null, opened, error));
        }
        return project;
    }

    private static IntPtr Find(IntPtr project, uint threads) {
        // The delegate is kept alive for as long as the library may call it.
        orvix_proceed proceed = (user, done) => 1;
        IntPtr planes;
        orvix_planes_options options = default(orvix_planes_options);
        options.size = (uint)sizeof(orvix_planes_options);
        options.threads = threads;
        options.proceed = Marshal.GetFunctionPointerForDelegate(proceed);
        orvix_planes_options* how = &options;
        IntPtr* found = &planes;
        Check(error => orvix_planes_find(project, how, found, error));
        GC.KeepAlive(proceed);
        return planes;
    }

    private static orvix_planes_info InfoOf(IntPtr planes) {
        orvix_planes_info info = default(orvix_planes_info);
        info.size = (uint)sizeof(orvix_planes_info);
        orvix_planes_info* filled = &info;
        Check(error => orvix_planes_get_info(planes, filled, error));
        return info;
    }

    private static ulong CornersOf(IntPtr planes, uint number, ulong count) {
        var rings = new orvix_ring[count];
        fixed (orvix_ring* array = rings) {
            orvix_ring* first = array;
            Check(error => orvix_planes_get_rings(planes, number, first, count, null, error));
        }
        ulong corners = 0;
        foreach (orvix_ring ring in rings)
            if (ring.hole == 0) corners += ring.vertices;
        return corners;
    }

    private static void Show(IntPtr planes, uint number) {
        orvix_found_plane plane = default(orvix_found_plane);
        plane.size = (uint)sizeof(orvix_found_plane);
        orvix_found_plane* filled = &plane;
        Check(error => orvix_planes_get_plane(planes, number, filled, error));
        Console.WriteLine(string.Format(
            CultureInfo.InvariantCulture,
            "{0} {1} group {2}: {3:R} {4:R} {5:R} {6:R}, {7:F2} m2, {8} points, {9} corners",
            plane.number, Kinds[plane.kind], plane.group, plane.equation[0], plane.equation[1],
            plane.equation[2], plane.equation[3], plane.area, plane.points,
            CornersOf(planes, number, plane.rings)));
    }

    private static ulong CountOnPlanes(IntPtr planes, ulong points) {
        var numbers = new uint[points];
        fixed (uint* array = numbers) {
            uint* first = array;
            Check(error => orvix_planes_read_numbers(planes, 0, points, first, error));
        }
        ulong onPlanes = 0;
        foreach (uint number in numbers)
            if (number != 0) ++onPlanes;
        return onPlanes;
    }

    public static int Main(string[] arguments) {
        if (arguments.Length != 1) {
            Console.Error.WriteLine("usage: 10_all_planes_in_csharp PROJECT");
            return 2;
        }
        IntPtr project = Open(arguments[0]);
        IntPtr planes = Find(project, 0);
        orvix_planes_info info = InfoOf(planes);
        for (uint number = 1; number <= info.planes; ++number) Show(planes, number);
        ulong onPlanes = CountOnPlanes(planes, info.points);
        Console.WriteLine("{0} planes hold {1} of {2} points", info.planes, onPlanes, info.points);
        orvix_planes_close(planes);
        orvix_project_close(project);
        return onPlanes == info.on_planes ? 0 : 1;
    }
}
