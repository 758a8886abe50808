// SPDX-License-Identifier: GPL-3.0-or-later
// A host in C#: opens a project, reads points into its own array, grows a plane and fetches its
// mesh. Needs Orvix.cs and, at run time, orvix.dll or liborvix.so.
//
//     csc /unsafe 06_host_in_csharp.cs Orvix.cs        (or mcs, or a .NET project)
//     06_host_in_csharp building.prj 3.7 -4.0 12.9
using System;
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

    private static IntPtr Open(string path) {
        IntPtr project;
        fixed (byte* utf8 = Encoding.UTF8.GetBytes(path + "\0")) {
            byte* name = utf8;
            IntPtr* opened = &project;
            Check(error => orvix_project_open(name, null, opened, error));
        }
        return project;
    }

    private static double HighestPoint(IntPtr project) {
        orvix_project_info info;
        info.size = (uint)sizeof(orvix_project_info);
        orvix_project_info* told = &info;
        Check(error => orvix_project_get_info(project, told, error));
        var points = new orvix_point[info.points];
        fixed (orvix_point* array = points) {
            orvix_point* first = array;
            Check(error => orvix_points_read(project, 0, (ulong)points.Length, first, error));
        }
        double highest = double.NegativeInfinity;
        foreach (orvix_point point in points) highest = Math.Max(highest, point.z);
        Console.WriteLine("{0} points up to {1:F3} m", info.points, highest + info.origin[2]);
        return highest;
    }

    private static IntPtr Grow(IntPtr project, double[] seed) {
        // The delegate is kept alive for as long as the library may call it.
        orvix_proceed proceed = (user, done) => 1;
        IntPtr plane;
        orvix_plane_options options = default(orvix_plane_options);
        options.size = (uint)sizeof(orvix_plane_options);
        options.proceed = Marshal.GetFunctionPointerForDelegate(proceed);
        fixed (double* position = seed) {
            double* at = position;
            orvix_plane_options* how = &options;
            IntPtr* grown = &plane;
            Check(error => orvix_plane_grow(project, at, how, grown, error));
        }
        GC.KeepAlive(proceed);
        return plane;
    }

    private static void Show(IntPtr plane) {
        orvix_plane_info info;
        info.size = (uint)sizeof(orvix_plane_info);
        orvix_plane_info* told = &info;
        Check(error => orvix_plane_get_info(plane, told, error));
        IntPtr mesh;
        ulong points, triangles;
        IntPtr* made = &mesh;
        ulong* pointCount = &points;
        ulong* triangleCount = &triangles;
        Check(error => orvix_plane_mesh(plane, made, error));
        IntPtr handle = mesh;
        Check(error => orvix_mesh_read(handle, null, 0, pointCount, null, 0, triangleCount, error));
        ulong room = points;
        ulong triangleRoom = triangles;
        var xyz = new double[3 * room];
        var corners = new uint[3 * triangleRoom];
        fixed (double* positions = xyz)
        fixed (uint* places = corners) {
            double* p = positions;
            uint* t = places;
            Check(error => orvix_mesh_read(handle, p, room, pointCount, t, triangleRoom,
                                           triangleCount, error));
        }
        orvix_mesh_close(mesh);
        Console.WriteLine(string.Format(
            CultureInfo.InvariantCulture, "plane {0:R} {1:R} {2:R} {3:R}, {4:F2} m2, {5} triangles",
            info.equation[0], info.equation[1], info.equation[2], info.equation[3], info.area,
            corners.Length / 3));
    }

    public static int Main(string[] arguments) {
        if (arguments.Length != 4) {
            Console.Error.WriteLine("usage: 06_host_in_csharp PROJECT X Y Z");
            return 2;
        }
        var seed = new double[3];
        for (int i = 0; i < 3; ++i)
            seed[i] = double.Parse(arguments[i + 1], CultureInfo.InvariantCulture);
        IntPtr project = Open(arguments[0]);
        HighestPoint(project);
        IntPtr plane = Grow(project, seed);
        Show(plane);
        orvix_plane_close(plane);
        orvix_project_close(project);
        return 0;
    }
}
