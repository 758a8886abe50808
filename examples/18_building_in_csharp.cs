// SPDX-License-Identifier: GPL-3.0-or-later
// A host in C#: finds the building that a project shows, lists its rooms and walls, and writes it as IFC.
// Needs Orvix.cs and, at run time, orvix.dll or liborvix.so.
//
//     csc /unsafe 18_building_in_csharp.cs Orvix.cs          (or mcs, or a .NET project)
//     18_building_in_csharp building.prj house.ifc
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

    private static byte[] Utf8(string text) {
        return Encoding.UTF8.GetBytes(text + "\0");
    }

    private static IntPtr Open(string path) {
        IntPtr project;
        fixed (byte* utf8 = Utf8(path)) {
            byte* name = utf8;
            IntPtr* opened = &project;
            Check(error => orvix_project_open(name, null, opened, error));
        }
        return project;
    }

    private static IntPtr Find(IntPtr project) {
        // The delegate is kept alive for as long as the library may call it.
        orvix_proceed proceed = (user, done) => 1;
        IntPtr building;
        orvix_building_options options = default(orvix_building_options);
        options.size = (uint)sizeof(orvix_building_options);
        options.proceed = Marshal.GetFunctionPointerForDelegate(proceed);
        orvix_building_options* how = &options;
        IntPtr* found = &building;
        Check(error => orvix_building_find(project, IntPtr.Zero, how, found, error));
        GC.KeepAlive(proceed);
        return building;
    }

    private static orvix_building_info InfoOf(IntPtr building) {
        orvix_building_info info = default(orvix_building_info);
        info.size = (uint)sizeof(orvix_building_info);
        orvix_building_info* filled = &info;
        Check(error => orvix_building_get_info(building, filled, error));
        return info;
    }

    private static string NameOf(IntPtr building, int kind, uint number) {
        var counts = new ulong[1];
        fixed (ulong* array = counts) {
            ulong* counted = array;
            Check(error => orvix_building_get_name(building, kind, number, null, 0, counted, error));
        }
        ulong count = counts[0];
        var text = new byte[count];
        fixed (byte* array = text) {
            byte* first = array;
            Check(error => orvix_building_get_name(building, kind, number, first, count, null, error));
        }
        return Encoding.UTF8.GetString(text, 0, text.Length - 1);
    }

    private static void Show(string format, params object[] values) {
        Console.WriteLine(string.Format(CultureInfo.InvariantCulture, format, values));
    }

    private static void ShowRoom(IntPtr building, uint number) {
        orvix_room room = default(orvix_room);
        room.size = (uint)sizeof(orvix_room);
        orvix_room* filled = &room;
        Check(error => orvix_building_get_room(building, number, filled, error));
        Show("{0}: {1:R} m2, {2:R} m3", NameOf(building, ORVIX_ELEMENT_ROOM, number), room.area[0],
             room.volume[0]);
    }

    private static void ShowWall(IntPtr building, uint number) {
        orvix_wall wall = default(orvix_wall);
        wall.size = (uint)sizeof(orvix_wall);
        orvix_wall* filled = &wall;
        Check(error => orvix_building_get_wall(building, number, filled, error));
        Show("{0}: {1:R} {2:R} to {3:R} {4:R}, {5:R} m thick",
             NameOf(building, ORVIX_ELEMENT_WALL, number), wall.axis[0], wall.axis[1], wall.axis[2],
             wall.axis[3], wall.thickness[0]);
    }

    public static int Main(string[] arguments) {
        if (arguments.Length != 2) {
            Console.Error.WriteLine("usage: 18_building_in_csharp PROJECT OUT.ifc");
            return 2;
        }
        IntPtr project = Open(arguments[0]);
        IntPtr building = Find(project);
        orvix_project_close(project);  // a building needs its project no longer
        orvix_building_info info = InfoOf(building);
        for (uint number = 1; number <= info.rooms; ++number) ShowRoom(building, number);
        for (uint number = 1; number <= info.walls; ++number) ShowWall(building, number);
        fixed (byte* utf8 = Utf8(arguments[1])) {
            byte* name = utf8;
            Check(error => orvix_building_write(building, name, error));
        }
        Show("{0} rooms, {1} walls, {2} openings", info.rooms, info.walls, info.openings);
        orvix_building_close(building);
        return 0;
    }
}
