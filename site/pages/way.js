// Marks the next bus of today in the timetable.
document.addEventListener("DOMContentLoaded", function () {
    var now = new Date();
    var minutes = now.getHours() * 60 + now.getMinutes();
    var rows = Array.prototype.slice.call(document.querySelectorAll(".timetable tbody tr"));
    var next = rows.find(function (row) {
        var time = row.cells[0].textContent.split(".");
        return Number(time[0]) * 60 + Number(time[1]) > minutes;
    });
    var note = document.getElementById("next-bus");
    if (!next || !note)
        return;
    next.className = "next";
    note.textContent = "The next one today leaves at " + next.cells[0].textContent + ".";
    note.hidden = false;
});
