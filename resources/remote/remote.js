"use strict";
// The stage page: what Gigmora pushes is drawn as it comes; the buttons and the rows ask
// Gigmora to move, and the page waits to be told where the set went.
(function () {
  const order = document.getElementById("order");
  const link = document.getElementById("link");
  let socket = null;
  let stage = null;
  let retry = 500;

  function send(command) {
    if (socket && socket.readyState === WebSocket.OPEN) socket.send(JSON.stringify(command));
  }

  // As Gigmora writes lengths: "3:25", "1:02:03".
  function length(seconds) {
    const t = Math.round(seconds);
    const two = function (n) { return (n < 10 ? "0" : "") + n; };
    const m = Math.floor(t / 60) % 60, h = Math.floor(t / 3600);
    return (h > 0 ? h + ":" + two(m) : Math.floor(t / 60)) + ":" + two(t % 60);
  }

  function draw(s) {
    stage = s;
    document.getElementById("setlist").textContent = s.setlist || "No setlist";
    document.getElementById("state").textContent = s.state || "";
    document.getElementById("next").textContent = s.next || "";
    document.getElementById("left").textContent = s.timeLeft || "";
    document.title = s.setlist ? s.setlist + " – Gigmora" : "Gigmora";
    const rows = s.songs.map(function (title, i) {
      const li = document.createElement("li");
      const b = document.createElement("button");
      b.type = "button";
      b.textContent = title;
      const seconds = (s.seconds || [])[i];
      if (typeof seconds === "number") {
        const span = document.createElement("span");
        span.className = "length";
        span.textContent = length(seconds);
        b.appendChild(span);
      }
      b.addEventListener("click", function () {
        send({ do: "song", row: i, title: title, setlist: stage.setlist });
      });
      if (i === s.current) li.setAttribute("aria-current", "true");
      li.appendChild(b);
      return li;
    });
    order.replaceChildren.apply(order, rows);
    const current = order.querySelector('[aria-current="true"]');
    if (current) current.scrollIntoView({ block: "nearest" });
  }

  function connect() {
    socket = new WebSocket((location.protocol === "https:" ? "wss://" : "ws://") + location.host + "/ws");
    socket.onopen = function () {
      retry = 500;
      link.textContent = "";
    };
    socket.onmessage = function (e) {
      draw(JSON.parse(e.data));
    };
    socket.onclose = function () {
      link.textContent = "Reconnecting to Gigmora…";
      // A reload shows the PIN field if the session is gone (Gigmora restarted).
      setTimeout(function () {
        fetch("/", { cache: "no-store" }).then(function (r) { return r.text(); }).then(function (t) {
          if (t.indexOf('id="pin"') >= 0) location.reload();
          else connect();
        }, connect);
      }, retry);
      retry = Math.min(retry * 2, 5000);
    };
  }

  document.getElementById("previous").addEventListener("click", function () { send({ do: "previous" }); });
  document.getElementById("forward").addEventListener("click", function () { send({ do: "next" }); });
  connect();
})();
